#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/routes/ChannelMode.hpp"
#include "core/routes/MIDIRoute.hpp"
#include "core/routes/MIDIRouteVariant.hpp"

#include <QString>

/// The texts of the list about a connection and its channel assignments.
namespace corvel::ui {

/// The names of the connection's endpoints: "Keys to Synth".
[[nodiscard]] QString connectionName(const MIDIRouterViewModel& model, const MIDIRoute& route);

/// The assignment's mode; "As Is" if it has none.
[[nodiscard]] ChannelMode channelMode(const MIDIRouteVariant& variant);

/// The assignment's title in menus: "Ch 3", "Ch 3 (⌘1)".
[[nodiscard]] QString channelPickerTitle(const MIDIRouteVariant& variant);

/// The line under a connection's names: channel, shortcut, availability and newest message, "Ch 3 / ⌘1 / Active / …".
[[nodiscard]] QString channelStatusText(const MIDIRouterViewModel& model, const MIDIRoute& route);

/// Whether the active assignment forces a channel; only then it can be edited or deleted.
[[nodiscard]] bool hasForcedChannel(const MIDIRoute& route);

/// Whether the active assignment can be deleted: it forces a channel and is not the only one.
[[nodiscard]] bool canDeleteActiveChannelAssignment(const MIDIRoute& route);

/// What the buttons do, or why they are disabled.
[[nodiscard]] QString editButtonHelp(const MIDIRoute& route);
[[nodiscard]] QString deleteButtonHelp(const MIDIRoute& route);

/// All details of a connection, ending with the active assignment's shortcut in the names of the keys.
[[nodiscard]] QString routeHelp(const MIDIRouterViewModel& model, const MIDIRoute& route);

/// All details of an assignment, ending with its shortcut in the names of the keys.
[[nodiscard]] QString variantHelp(const MIDIRouterViewModel& model, const MIDIRouteVariant& variant);

}  // namespace corvel::ui
