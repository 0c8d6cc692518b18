#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/support/UUID.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"

#include <QPointer>
#include <QVariantAnimation>
#include <QWidget>
#include <optional>
#include <vector>

class QLabel;

namespace corvel::ui {

class ChannelAssignmentDialog;
class LookScrollArea;
class RouteRow;

/// The connections of the current set, a row each, under the heading "Connections".
class RouteList final : public QWidget {
    Q_OBJECT

public:
    RouteList(MIDIRouterViewModel& model, const Look& look, QWidget* parent = nullptr);

    /// Reads again what may have changed in the model.
    void refresh(const ModelChanges& changes);

    /// The list's height in a window of this height, both in logical pixels.
    [[nodiscard]] static int heightIn(int windowHeight, bool hasRoutes);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    enum class Purpose { add, edit };

    void showColours();
    /// Keeps the rows of the connections that are still there, whatever their place.
    void showRoutes();
    [[nodiscard]] RouteRow* makeRow(const MIDIRoute& route, const QColor& colour);
    void orderRows();
    void showSelection();
    /// Shows the newest message in the rows that can be seen.
    void showStatuses();
    void scrollTo(int index);
    void selectNeighbour(const RouteRow* row, int offset);
    void openDialog(const UUID& routeID, Purpose purpose);

    MIDIRouterViewModel& model_;
    const Look& look_;
    QLabel* heading_;
    LookScrollArea* scrollArea_;
    /// In the order of the model's connections.
    std::vector<RouteRow*> rows_;
    /// The selection that was last shown, the reason to scroll.
    std::optional<UUID> shownSelection_;
    QVariantAnimation scrolling_;
    QPointer<ChannelAssignmentDialog> dialog_;
};

}  // namespace corvel::ui
