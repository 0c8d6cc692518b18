#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/Look.hpp"
#include "ui/RouterWindow/EndpointPositionKey.hpp"

#include <QPoint>

class QWidget;

namespace corvel::ui {

/// Opens the context menu of an endpoint's row at a place of the screen: what can be done with the endpoint.
void openEndpointMenu(MIDIRouterViewModel& model, const Look& look, const EndpointPositionKey& endpoint,
                      const QPoint& place, QWidget* parent);

/// Asks the user for a name of their own for an endpoint.
void askForEndpointAlias(MIDIRouterViewModel& model, const Look& look, const EndpointPositionKey& endpoint,
                         QWidget* parent);

}  // namespace corvel::ui
