#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/support/UUID.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"

#include <QPointer>
#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

#include <cstddef>
#include <optional>
#include <vector>

namespace corvel::ui {

class ChannelAssignmentDialog;
class LookLabel;
class LookScrollArea;
class RouteRow;

/// The connections of the current set as rows, under the heading "Connections". The Tab key stops at one row. Up, Down,
/// Home and End go to other rows and select them, Left and Right go to the controls in a row. Delete deletes the
/// selected connection.
class RouteList final : public QWidget {
    Q_OBJECT

public:
    RouteList(MIDIRouterViewModel& model, const Look& look, QWidget* parent = nullptr);

    /// Reads again what may have changed in the model.
    void refresh(const ModelChanges& changes);

    /// Selects a connection and opens its menu at this screen position.
    void openMenu(const UUID& routeID, const QPoint& place);
    /// Highlights the row of the connection that is about to be deleted.
    void setEmphasizedRoute(const std::optional<UUID>& routeID);

    /// The list's height in a window of height `windowHeight`, in logical pixels.
    [[nodiscard]] static int heightIn(int windowHeight, bool hasRoutes);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Purpose { add, edit };

    /// Keeps the rows of connections that still exist, wherever they are. Creates the first of many new rows, and
    /// leaves the others to `makeMoreRows`: a row is a dozen views, and hundreds of rows take a second.
    void showRoutes();
    /// Creates missing rows and destroys superfluous ones, for a few milliseconds.
    void makeMoreRows();
    /// Arranges the rows from this place on below each other.
    void orderRows(std::size_t first);
    [[nodiscard]] RouteRow* makeRow(const MIDIRoute& route, const QColor& colour);
    void showSelection();
    /// Shows the newest message in the visible rows.
    void showStatuses();
    /// Scrolls the selected row to the middle.
    void scrollToSelectedRoute();
    void scrollOn(const QVariant& progress);
    [[nodiscard]] RouteRow* rowOf(const QWidget* view) const;
    /// Makes one row the stop of the Tab key: this one, otherwise the selected one, otherwise the first.
    void setTabStop(const RouteRow* stop);
    /// `focus` had the focus. If its row was removed, keeps the focus in the list.
    void keepFocus(const QWidget* focus, std::size_t place);
    /// Moves the focus from a row's view by this key. Returns whether it is such a key.
    [[nodiscard]] bool moveFocus(QWidget* from, int key);
    /// Selects the row at a place and gives it the focus: the view at the same place in the row if that can have it.
    void goTo(std::ptrdiff_t place, std::size_t column);
    void openDialog(const UUID& routeID, Purpose purpose);

    MIDIRouterViewModel& model_;
    const Look& look_;
    LookLabel* heading_;
    LookScrollArea* scrollArea_;
    /// An invisible view that keeps the place of the rows in the tab order.
    QWidget* tabPlace_;
    /// In the order of the model's connections; the last ones may not exist yet.
    std::vector<RouteRow*> rows_;
    std::vector<QPointer<RouteRow>> formerRows_;
    QTimer rowMaking_;
    /// The selection that was last shown. If it changes, the list scrolls to it.
    std::optional<UUID> shownSelection_;
    /// The set that was last shown. If it changes, the list scrolls to the top.
    std::optional<UUID> shownSetID_;
    /// From 0 to 1 while the list scrolls by itself, and the scroll bar's value at the start.
    QVariantAnimation scrolling_;
    int scrollStart_ = 0;
    /// The dialog that was opened last, while it exists.
    QPointer<ChannelAssignmentDialog> dialog_;
};

}  // namespace corvel::ui
