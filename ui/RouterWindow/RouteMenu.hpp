#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/support/UUID.hpp"
#include "ui/Look.hpp"

#include <QPoint>

#include <functional>

class QWidget;

namespace corvel::ui {

/// What a connection's menu cannot do by itself: the dialogs belong to the list.
struct RouteMenuDialogs {
    std::function<void()> add;
    std::function<void()> edit;
};

/// Selects the connection, as far as there is one with this ID, and opens its context menu at a place of the screen:
/// its channel assignments, of which one can be chosen, and what can be done with them and with the connection.
void openRouteMenu(MIDIRouterViewModel& model, const Look& look, const UUID& routeID, RouteMenuDialogs dialogs,
                   const QPoint& place, QWidget* parent);

}  // namespace corvel::ui
