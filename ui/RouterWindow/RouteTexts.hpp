#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/routes/ChannelMode.hpp"
#include "core/routes/MIDIRoute.hpp"
#include "core/routes/MIDIRouteVariant.hpp"

#include <QString>

/// What the list says of a connection and its channel assignments.
namespace corvel::ui {

/// The connection by its endpoints: "Keys to Synth".
[[nodiscard]] QString connectionName(const MIDIRouterViewModel& model, const MIDIRoute& route);

/// The assignment's mode; as it is where the assignment has none.
[[nodiscard]] ChannelMode channelMode(const MIDIRouteVariant& variant);

/// The assignment as menus show it: "Ch 3", "Ch 3 (⌘1)".
[[nodiscard]] QString channelPickerTitle(const MIDIRouteVariant& variant);

/// The line under a connection's names: channel, shortcut, availability and newest message, "Ch 3 / ⌘1 / Active / …".
[[nodiscard]] QString channelStatusText(const MIDIRouterViewModel& model, const MIDIRoute& route);

/// Whether there is an active assignment that does more than pass channels on: only that can be edited or deleted.
[[nodiscard]] bool hasForcedChannel(const MIDIRoute& route);

/// Whether the active assignment can be deleted: it forces a channel, and is not the only one.
[[nodiscard]] bool canDeleteActiveChannelAssignment(const MIDIRoute& route);

/// What the buttons do, or why they do not.
[[nodiscard]] QString editButtonHelp(const MIDIRoute& route);
[[nodiscard]] QString deleteButtonHelp(const MIDIRoute& route);

/// Everything about a connection, with the active assignment's shortcut in the keyboard's words at the end.
[[nodiscard]] QString routeHelp(const MIDIRouterViewModel& model, const MIDIRoute& route);

/// Everything about an assignment, with its shortcut in the keyboard's words at the end.
[[nodiscard]] QString variantHelp(const MIDIRouterViewModel& model, const MIDIRouteVariant& variant);

}  // namespace corvel::ui
