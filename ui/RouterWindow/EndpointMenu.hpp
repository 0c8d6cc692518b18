#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/Look.hpp"
#include "ui/RouterWindow/EndpointPositionKey.hpp"

#include <QPoint>

class QWidget;

namespace corvel::ui {

/// Opens the context menu of an endpoint's row at this screen position.
void openEndpointMenu(MIDIRouterViewModel& model, const Look& look, const EndpointPositionKey& endpoint,
                      const QPoint& place, QWidget* parent);

/// Asks the user for their own name for an endpoint.
void askForEndpointAlias(MIDIRouterViewModel& model, const Look& look, const EndpointPositionKey& endpoint,
                         QWidget* parent);

}  // namespace corvel::ui
