#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/support/Clock.hpp"
#include "core/support/UUID.hpp"
#include "ui/Look.hpp"
#include "ui/ModelChanges.hpp"
#include "ui/ModelRefresh.hpp"
#include "ui/RouterWindow/EndpointColumn.hpp"
#include "ui/RouterWindow/EndpointPositionKey.hpp"

#include <QList>
#include <QMainWindow>
#include <QPointer>

#include <memory>
#include <optional>
#include <vector>

class QAction;

namespace corvel::ui {

class ConnectionSetBar;
class EndpointDragGuide;
class EndpointLights;
class HeaderBar;
class HeldKeys;
class RouteGraph;
class RouteList;
class SettingsSheet;
class ShortcutMonitor;
class StatusBar;

/// The only window of the application: inputs on the left, outputs on the right, the connections between them, and the
/// list of connections below. Reads everything from the model. Each gesture calls one operation of the model.
class RouterWindow final : public QMainWindow {
    Q_OBJECT

public:
    /// Minimum size of the content in logical pixels.
    static constexpr QSize kMinimumSize{980, 640};
    static constexpr QSize kIdealSize{1180, 760};

    /// `menu` has the application menu's items. `demoReason` says why the demo devices run, empty if they do not.
    RouterWindow(MIDIRouterViewModel& model, const Look& look, std::shared_ptr<const Clock> clock,
                 const QList<QAction*>& menu, const QString& demoReason);
    ~RouterWindow() override;

    /// Makes shortcuts switch channel assignments and held keys act once. Does nothing if they already do.
    void installShortcutMonitor();
    /// Undoes `installShortcutMonitor`. Does nothing if it is not installed.
    void removeShortcutMonitor();

    [[nodiscard]] bool isSettingsPresented() const;

signals:
    /// The window has appeared on the screen, for the first time or again.
    void appeared();
    void closed();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    /// Escape deselects everything, if no view has used it.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void refresh(const ModelChanges& changes);
    void refreshColumns(const ModelChanges& changes);
    /// Gives list and columns their sizes for the current size of the window.
    void fitBands();
    /// Scrolls to the endpoints of a newly selected connection, and after a change of sets to those of the first
    /// connection.
    void showConnectionEnds();
    void showEnds(const MIDIRoute& route);
    [[nodiscard]] EndpointColumn& column(MIDIEndpointDirection direction) const;
    [[nodiscard]] EndpointColumn::Aliases aliases(MIDIEndpointDirection direction,
                                                  const std::vector<MIDIEndpointModel>& endpoints) const;
    /// Gives the focus to a column's filter: that of the column with the focus, otherwise the inputs'. From one filter
    /// it goes to the other.
    void focusFilter();
    void addShortcuts();
    void selectPreviousSet();
    void selectNextSet();
    void toggleFullScreen();
    /// Marks the selected connection in the columns, and highlights the one that the bin would delete.
    void showSelectedConnection();
    void deselectAll();
    void updateConnectorPositions();
    void presentSettings();
    void connectColumns();

    MIDIRouterViewModel& model_;
    const Look& look_;
    HeaderBar* header_;
    ConnectionSetBar* setBar_;
    // In tab order.
    EndpointColumn* inputs_;
    RouteGraph* graph_;
    EndpointColumn* outputs_;
    RouteList* list_;
    StatusBar* statusBar_;
    EndpointLights* lights_;
    /// The selection to which the columns were last scrolled.
    std::optional<UUID> shownSetID_;
    std::optional<UUID> shownRouteID_;
    QPointer<SettingsSheet> settings_;
    std::unique_ptr<ShortcutMonitor> shortcutMonitor_;
    std::unique_ptr<HeldKeys> heldKeys_;
    EndpointConnectorYPositions endpointConnectorYPositions_;
    ModelRefresh modelRefresh_;
};

}  // namespace corvel::ui
