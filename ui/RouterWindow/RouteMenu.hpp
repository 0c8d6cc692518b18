#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/support/UUID.hpp"
#include "ui/Look.hpp"

#include <QPoint>

#include <functional>

class QWidget;

namespace corvel::ui {

/// The dialogs that a connection's menu needs; they belong to the list.
struct RouteMenuDialogs {
    std::function<void()> add;
    std::function<void()> edit;
};

/// Selects the connection, if it exists, and opens its context menu at this screen position: its channel assignments,
/// and the commands for them and for the connection.
void openRouteMenu(MIDIRouterViewModel& model, const Look& look, const UUID& routeID, RouteMenuDialogs dialogs,
                   const QPoint& place, QWidget* parent);

}  // namespace corvel::ui
