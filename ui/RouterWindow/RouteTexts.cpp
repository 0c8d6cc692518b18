#include "ui/RouterWindow/RouteTexts.hpp"

#include "core/routes/KeyboardShortcutSpec.hpp"
#include "ui/QtText.hpp"
#include "ui/RouterWindow/EndpointNames.hpp"
#include "ui/RouterWindow/KeyEventShortcut.hpp"

#include <QStringList>

#include <optional>

namespace corvel::ui {

namespace {

/// Adds the names of the keys, because not every keyboard has the symbols on its keys.
QString withKeys(const QString& text, const std::optional<KeyboardShortcutSpec>& shortcut) {
    return shortcut ? text + QLatin1Char('\n') + shortcutInWords(*shortcut) : text;
}

}  // namespace

QString connectionName(const MIDIRouterViewModel& model, const MIDIRoute& route) {
    return QStringLiteral("%1 to %2").arg(shownInputName(model, route), shownOutputName(model, route));
}

ChannelMode channelMode(const MIDIRouteVariant& variant) {
    return variant.channelMode.value_or(ChannelMode::asIs());
}

QString channelPickerTitle(const MIDIRouteVariant& variant) {
    const QString title = toQString(channelMode(variant).title());
    return variant.shortcut ? title + QStringLiteral(" (%1)").arg(toQString(variant.shortcut->title())) : title;
}

QString channelStatusText(const MIDIRouterViewModel& model, const MIDIRoute& route) {
    const MIDIRouteVariant* const active = route.activeVariant();
    QStringList parts{toQString((active != nullptr ? channelMode(*active) : route.channelMode).title())};
    if (active != nullptr && active->shortcut) {
        parts << toQString(active->shortcut->title());
    }
    parts << toQString(displayText(model.routeAvailability(route))) << toQString(model.lastEventDescription(route.id));
    return parts.join(QStringLiteral(" / "));
}

bool hasForcedChannel(const MIDIRoute& route) {
    const MIDIRouteVariant* const active = route.activeVariant();
    return active != nullptr && channelMode(*active) != ChannelMode::asIs();
}

bool canDeleteActiveChannelAssignment(const MIDIRoute& route) {
    return hasForcedChannel(route) && route.variants.size() >= 2;
}

QString editButtonHelp(const MIDIRoute& route) {
    return hasForcedChannel(route) ? QStringLiteral("Edit selected output channel")
                                   : QStringLiteral("As Is output cannot be edited");
}

QString deleteButtonHelp(const MIDIRoute& route) {
    if (!hasForcedChannel(route)) {
        return QStringLiteral("As Is output cannot be deleted");
    }
    return route.variants.size() < 2 ? QStringLiteral("A connection needs at least one output channel")
                                     : QStringLiteral("Delete selected output channel");
}

QString routeHelp(const MIDIRouterViewModel& model, const MIDIRoute& route) {
    const MIDIRouteVariant* const active = route.activeVariant();
    return withKeys(toQString(model.routeDetailText(route)), active != nullptr ? active->shortcut : std::nullopt);
}

QString variantHelp(const MIDIRouterViewModel& model, const MIDIRouteVariant& variant) {
    return withKeys(toQString(model.variantDetailText(variant)), variant.shortcut);
}

}  // namespace corvel::ui
