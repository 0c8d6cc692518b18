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

/// The one window of the application: inputs on the left, outputs on the right, the connections between them, and the
/// list of connections below. Reads everything from the model, and makes each gesture one call of the model.
class RouterWindow final : public QMainWindow {
    Q_OBJECT

public:
    /// The size of the content in logical pixels.
    static constexpr QSize kMinimumSize{980, 640};
    static constexpr QSize kIdealSize{1180, 760};

    /// `menu` are the application menu's items. `demoReason` says why the demo devices run, empty if they do not.
    RouterWindow(MIDIRouterViewModel& model, const Look& look, std::shared_ptr<const Clock> clock,
                 const QList<QAction*>& menu, const QString& demoReason);
    ~RouterWindow() override;

    /// Has shortcuts switch channel assignments, and keys that are held act once. Nothing changes if they do already.
    void installShortcutMonitor();
    /// Ends that. Nothing changes if they do not.
    void removeShortcutMonitor();

    [[nodiscard]] bool isSettingsPresented() const;

signals:
    /// The window is on the screen, for the first time or again.
    void appeared();
    void closed();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    /// Escape that nobody else wants deselects everything.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void refresh(const ModelChanges& changes);
    void refreshColumns(const ModelChanges& changes);
    /// Gives list and columns the size that they have in a window of this size.
    void fitBands();
    /// Scrolls the endpoints of a connection that was just selected into view, and those of a set's first connection
    /// when another set was chosen.
    void showConnectionEnds();
    void showEnds(const MIDIRoute& route);
    [[nodiscard]] EndpointColumn& column(MIDIEndpointDirection direction) const;
    [[nodiscard]] EndpointColumn::Aliases aliases(MIDIEndpointDirection direction,
                                                  const std::vector<MIDIEndpointModel>& endpoints) const;
    /// Gives the keyboard to the filter of the column that has it, else to that of the inputs; from one filter to the
    /// other.
    void focusFilter();
    void addShortcuts();
    void selectPreviousSet();
    void selectNextSet();
    void toggleFullScreen();
    /// Shows which connection is the selected one in the columns, and the one that the bin would delete.
    void showSelectedConnection();
    void deselectAll();
    void updateConnectorPositions();
    void presentSettings();
    void connectColumns();

    MIDIRouterViewModel& model_;
    const Look& look_;
    HeaderBar* header_;
    ConnectionSetBar* setBar_;
    // The Tab key goes through them in this order.
    EndpointColumn* inputs_;
    RouteGraph* graph_;
    EndpointColumn* outputs_;
    RouteList* list_;
    StatusBar* statusBar_;
    EndpointLights* lights_;
    /// What was selected when the columns were last scrolled to it.
    std::optional<UUID> shownSetID_;
    std::optional<UUID> shownRouteID_;
    QPointer<SettingsSheet> settings_;
    std::unique_ptr<ShortcutMonitor> shortcutMonitor_;
    std::unique_ptr<HeldKeys> heldKeys_;
    EndpointConnectorYPositions endpointConnectorYPositions_;
    ModelRefresh modelRefresh_;
};

}  // namespace corvel::ui
