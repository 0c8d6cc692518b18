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

/// The connections of the current set, a row each, under the heading "Connections". The
/// Tab key stops at one row; Up, Down, Home and End go to the others and select them, Left and Right to what is in a
/// row. Delete deletes the selected connection.
class RouteList final : public QWidget {
    Q_OBJECT

public:
    RouteList(MIDIRouterViewModel& model, const Look& look, QWidget* parent = nullptr);

    /// Reads again what may have changed in the model.
    void refresh(const ModelChanges& changes);

    /// Selects a connection and opens its menu at a place of the screen.
    void openMenu(const UUID& routeID, const QPoint& place);
    /// Has the row of one connection stand out as the one that is about to be deleted.
    void setEmphasizedRoute(const std::optional<UUID>& routeID);

    /// The list's height in a window of this height, both in logical pixels.
    [[nodiscard]] static int heightIn(int windowHeight, bool hasRoutes);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Purpose { add, edit };

    /// Keeps the rows of the connections that are still there, whatever their place. Of many new ones it makes the
    /// first and leaves the others to `makeMoreRows`: a row is a dozen views, and hundreds of them take a second.
    void showRoutes();
    /// Makes rows that are still missing and destroys such that are no longer needed, for a few milliseconds.
    void makeMoreRows();
    /// Puts the rows from this place on below each other.
    void orderRows(std::size_t first);
    [[nodiscard]] RouteRow* makeRow(const MIDIRoute& route, const QColor& colour);
    void showSelection();
    /// Shows the newest message in the rows that can be seen.
    void showStatuses();
    /// Moves the selected row to the middle.
    void scrollToSelectedRoute();
    void scrollOn(const QVariant& progress);
    [[nodiscard]] RouteRow* rowOf(const QWidget* view) const;
    /// Makes one row the stop of the Tab key: this, or the selected one, or the first.
    void setTabStop(const RouteRow* stop);
    /// The focus has been on this view. Leaves it in the list if it was on a row that is gone.
    void keepFocus(const QWidget* focus, std::size_t place);
    /// Moves the focus from a row's view as this key asks; whether it is one that does.
    [[nodiscard]] bool moveFocus(QWidget* from, int key);
    /// Selects the row at a place, and gives it the focus: the view at the same place in it if that can have it.
    void goTo(std::ptrdiff_t place, std::size_t column);
    void openDialog(const UUID& routeID, Purpose purpose);

    MIDIRouterViewModel& model_;
    const Look& look_;
    LookLabel* heading_;
    LookScrollArea* scrollArea_;
    /// Never seen: the place of the rows in the order of the Tab key.
    QWidget* tabPlace_;
    /// In the order of the model's connections; the last ones may not be made yet.
    std::vector<RouteRow*> rows_;
    std::vector<QPointer<RouteRow>> formerRows_;
    QTimer rowMaking_;
    /// The selection that was last shown, the reason to scroll.
    std::optional<UUID> shownSelection_;
    /// The set whose connections were last shown, the reason to scroll up.
    std::optional<UUID> shownSetID_;
    /// From 0 to 1 while the list scrolls by itself, and the scroll bar's value when that began.
    QVariantAnimation scrolling_;
    int scrollStart_ = 0;
    /// The last dialog that was opened, as long as it exists.
    QPointer<ChannelAssignmentDialog> dialog_;
};

}  // namespace corvel::ui
