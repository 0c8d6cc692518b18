#include "ui/RouterWindow/RouteMenu.hpp"

#include "ui/RouterWindow/RouteTexts.hpp"
#include "ui/controls/PopUpMenu.hpp"

#include <QAction>

#include <utility>

namespace corvel::ui {

namespace {

void addItem(PopUpMenu& menu, const QString& title, bool isEnabled, std::function<void()> action) {
    QAction* const item = menu.addItem(title, false);
    item->setEnabled(isEnabled);
    QObject::connect(item, &QAction::triggered, &menu, std::move(action));
}

}  // namespace

void openRouteMenu(MIDIRouterViewModel& model, const Look& look, const UUID& routeID, RouteMenuDialogs dialogs,
                   const QPoint& place, QWidget* parent) {
    const MIDIRoute* const route = model.route(routeID);
    if (route == nullptr) {
        return;
    }
    auto* const menu = new PopUpMenu(look, parent);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const MIDIRouteVariant& variant : route->variants) {
        QAction* const item = menu->addItem(channelPickerTitle(variant), variant.id == route->activeVariantID);
        QObject::connect(item, &QAction::triggered, menu,
                         [&model, routeID, id = variant.id] { model.setActiveVariant(id, routeID); });
    }
    menu->addSeparator();
    addItem(*menu, QStringLiteral("Add Output Channel…"), true, std::move(dialogs.add));
    addItem(*menu, QStringLiteral("Edit Output Channel…"), hasForcedChannel(*route), std::move(dialogs.edit));
    addItem(*menu, QStringLiteral("Delete Output Channel"), canDeleteActiveChannelAssignment(*route),
            [&model, routeID] { model.deleteActiveVariant(routeID); });
    menu->addSeparator();
    addItem(*menu, route->isEnabled ? QStringLiteral("Disable Connection") : QStringLiteral("Enable Connection"), true,
            [&model, routeID, isEnabled = route->isEnabled] { model.setRouteEnabled(routeID, !isEnabled); });
    addItem(*menu, QStringLiteral("Delete Connection"), true, [&model, routeID] {
        // Selected again, because another connection may be selected by now and only the selected one can be deleted.
        if (model.route(routeID) != nullptr) {
            model.setSelectedRouteID(routeID);
            model.deleteSelectedRoute();
        }
    });
    model.setSelectedRouteID(routeID);
    menu->popup(place);
}

}  // namespace corvel::ui
