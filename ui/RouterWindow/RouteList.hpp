#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"

#include <QWidget>

namespace corvel::ui {

/// The list of connections under the stage.
class RouteList final : public QWidget {
    Q_OBJECT

public:
    RouteList(MIDIRouterViewModel& model, const Look& look, QWidget* parent);

    void refresh(const ModelChanges& changes);

    /// How high the list is in a window of this height.
    [[nodiscard]] static int heightIn(int windowHeight, bool hasRoutes);
};

}  // namespace corvel::ui
