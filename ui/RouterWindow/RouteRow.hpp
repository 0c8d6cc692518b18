#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "app/RouteAvailability.hpp"
#include "core/routes/MIDIRoute.hpp"
#include "core/support/UUID.hpp"
#include "ui/controls/IconButton.hpp"
#include "ui/controls/LookButton.hpp"
#include "ui/controls/PopUpButton.hpp"

#include <QColor>
#include <QString>
#include <QVariantAnimation>

#include <optional>
#include <vector>

namespace corvel::ui {

class RouteNamesView;
class RouteSwatch;

/// One connection in the list: its colour, names and state, its channel assignments, and the buttons for it. A click
/// anywhere else selects the connection.
class RouteRow final : public LookButton {
    Q_OBJECT

public:
    static constexpr int kHeight = 48;

    /// A row for this connection in this colour.
    RouteRow(MIDIRouterViewModel& model, const Look& look, const MIDIRoute& route, const QColor& colour,
             QWidget* parent);

    [[nodiscard]] const UUID& routeID() const { return routeID_; }

    /// Shows the connection's current state in this colour.
    void showRoute(const MIDIRoute& route, const QColor& colour);

    /// Whether the connection feeds back; the row then shows a warning.
    void setFeedsBack(bool feedsBack);

    /// Shows the connection's newest message.
    void showStatus();

    void setSelected(bool isSelected);
    [[nodiscard]] bool isSelected() const { return isSelected_; }

    /// Highlights the row as the one that is about to be deleted.
    void setEmphasized(bool isEmphasized);
    [[nodiscard]] bool isEmphasized() const { return isEmphasized_; }

    /// Whether a divider is drawn at the row's top.
    void setHairline(bool hasHairline);

    /// Includes the newest message. Changes of it are not announced, because they are too frequent.
    [[nodiscard]] std::optional<QString> liveDescription() const override;
    [[nodiscard]] QAccessible::Role accessibleRole() const override { return QAccessible::ListItem; }
    void addAccessibleState(QAccessible::State& state) const override;

    /// The row and its views that can have the focus, from left to right.
    [[nodiscard]] std::vector<QWidget*> focusViews();

signals:
    void addRequested();
    void editRequested();
    /// The user asks for the connection's menu at this screen position.
    void menuRequested(const QPoint& place);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    /// What the row shows, except its newest message.
    struct Shown {
        MIDIRoute route;
        QString input;
        QString output;
        RouteAvailability availability;
        QColor colour;

        bool operator==(const Shown&) const = default;
    };

    void makeButtons();
    void showNames();
    void showVariants();
    void showButtons();
    void showEmphasis();
    void toggleEnabled();
    void chooseVariant(int index);

    MIDIRouterViewModel& model_;
    const UUID routeID_;
    RouteSwatch* swatch_;
    RouteNamesView* names_;
    PopUpButton* variants_;
    IconButton* addButton_;
    IconButton* editButton_;
    IconButton* deleteButton_;
    IconButton* enableButton_;

    /// The assignments of the pop-up's items, and those of the menu that was opened last: the model may change while it
    /// is open.
    std::vector<UUID> variantIDs_;
    std::vector<UUID> openedVariantIDs_;
    /// Always has a value after construction.
    std::optional<Shown> shown_;
    bool feedsBack_ = false;
    bool isSelected_ = false;
    bool isEmphasized_ = false;
    bool hasHairline_ = false;
    QVariantAnimation selection_;
};

}  // namespace corvel::ui
