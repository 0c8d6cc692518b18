#include "ui/RouterWindow/RouterWindow.hpp"

#include "ui/QtText.hpp"
#include "ui/RouterWindow/ConnectionSetBar.hpp"
#include "ui/RouterWindow/EndpointDragGuide.hpp"
#include "ui/RouterWindow/EndpointFilterBar.hpp"
#include "ui/RouterWindow/EndpointLights.hpp"
#include "ui/RouterWindow/EndpointMenu.hpp"
#include "ui/RouterWindow/HeaderBar.hpp"
#include "ui/RouterWindow/HeldKeys.hpp"
#include "ui/RouterWindow/RouteColorPalette.hpp"
#include "ui/RouterWindow/RouteGraph.hpp"
#include "ui/RouterWindow/RouteList.hpp"
#include "ui/RouterWindow/SettingsSheet.hpp"
#include "ui/RouterWindow/ShortcutMonitor.hpp"
#include "ui/RouterWindow/StatusBar.hpp"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QShortcut>
#include <QVBoxLayout>

#include <algorithm>
#include <initializer_list>
#include <unordered_set>
#include <utility>

namespace corvel::ui {

namespace {

/// Minimum width of the stage. If the window is too narrow, the stage takes precedence over the columns.
constexpr int kStageWidth = 80;

}  // namespace

RouterWindow::RouterWindow(MIDIRouterViewModel& model, const Look& look, std::shared_ptr<const Clock> clock,
                           const QList<QAction*>& menu, const QString& demoReason)
    : model_(model),
      look_(look),
      header_(new HeaderBar(model, look, menu, demoReason, this)),
      setBar_(new ConnectionSetBar(model, look, this)),
      inputs_(new EndpointColumn(look, QStringLiteral("Input"), MIDIEndpointDirection::source, this)),
      graph_(new RouteGraph(model, look, std::move(clock), this)),
      outputs_(new EndpointColumn(look, QStringLiteral("Output"), MIDIEndpointDirection::destination, this)),
      list_(new RouteList(model, look, this)),
      statusBar_(new StatusBar(model, look, this)),
      lights_(new EndpointLights(
          *inputs_, *outputs_, [&model] { return model.takeEndpointsWithTraffic(); }, this)),
      modelRefresh_(model) {
    setWindowTitle(QStringLiteral("Corvel"));
    setMinimumSize(kMinimumSize);
    resize(kIdealSize);

    auto* const band = new QHBoxLayout;
    band->setSpacing(0);
    band->addWidget(inputs_);
    band->addWidget(graph_, 1);
    band->addWidget(outputs_);
    auto* const content = new QWidget;
    auto* const layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(header_);
    layout->addWidget(setBar_);
    layout->addLayout(band, 1);
    layout->addWidget(list_);
    layout->addWidget(statusBar_);
    setCentralWidget(content);
    // If the window is too small, these shrink, so that no view covers another.
    for (QWidget* const view : std::initializer_list<QWidget*>{inputs_, outputs_, graph_}) {
        view->setMinimumHeight(1);
    }
    new EndpointDragGuide(look, *inputs_, *outputs_, content);

    connectColumns();
    addShortcuts();
    connect(header_, &HeaderBar::settingsRequested, this, &RouterWindow::presentSettings);
    connect(header_, &HeaderBar::binAttentionChanged, this, &RouterWindow::showSelectedConnection);
    connect(graph_, &RouteGraph::emptyPlaceClicked, this, &RouterWindow::deselectAll);
    connect(&modelRefresh_, &ModelRefresh::changed, this, &RouterWindow::refresh);
    refreshColumns(ModelChanges::all());
    fitBands();
    showSelectedConnection();
}

RouterWindow::~RouterWindow() = default;

void RouterWindow::connectColumns() {
    connect(inputs_, &EndpointColumn::endpointSelected, this,
            [this](std::int32_t id) { model_.setSelectedSourceID(id); });
    connect(outputs_, &EndpointColumn::endpointSelected, this,
            [this](std::int32_t id) { model_.setSelectedDestinationID(id); });
    connect(graph_, &RouteGraph::endpointRequested, this, [this](const EndpointPositionKey& endpoint) {
        column(endpoint.direction).centreEndpoint(endpoint.endpointID);
    });
    connect(graph_, &RouteGraph::menuRequested, list_, &RouteList::openMenu);
    connect(&graph_->ticker(), &RouteAnimationTicker::nowChanged, lights_,
            [this] { lights_->show(graph_->ticker().now()); });
    for (const auto& [column, direction] :
         {std::pair{inputs_, MIDIEndpointDirection::source}, std::pair{outputs_, MIDIEndpointDirection::destination}}) {
        connect(column, &EndpointColumn::menuRequested, this, [this, direction](std::int32_t id, const QPoint& place) {
            openEndpointMenu(model_, look_, {direction, id}, place, this);
        });
        connect(column, &EndpointColumn::renamingRequested, this, [this, direction](std::int32_t id) {
            askForEndpointAlias(model_, look_, {direction, id}, this);
        });
        connect(column, &EndpointColumn::connectionRequested, this,
                [this](std::int32_t sourceID, std::int32_t destinationID) { model_.connect(sourceID, destinationID); });
        connect(column, &EndpointColumn::connectorPositionsChanged, this, &RouterWindow::updateConnectorPositions);
    }
}

EndpointColumn& RouterWindow::column(MIDIEndpointDirection direction) const {
    return direction == MIDIEndpointDirection::source ? *inputs_ : *outputs_;
}

void RouterWindow::addShortcuts() {
    const auto add = [this](const QString& title, const QKeySequence& keys, void (RouterWindow::*action)()) {
        auto* const shortcut = new QShortcut(keys, this);
        shortcut->setWhatsThis(title);
        // A held key acts only once.
        shortcut->setAutoRepeat(false);
        connect(shortcut, &QShortcut::activated, this, action);
    };
    add(QStringLiteral("Filter Devices"), QKeySequence(Qt::CTRL | Qt::Key_F), &RouterWindow::focusFilter);
    add(QStringLiteral("Previous Set"), QKeySequence(Qt::CTRL | Qt::Key_PageUp), &RouterWindow::selectPreviousSet);
    add(QStringLiteral("Next Set"), QKeySequence(Qt::CTRL | Qt::Key_PageDown), &RouterWindow::selectNextSet);
    add(QStringLiteral("Full Screen"), QKeySequence(Qt::Key_F11), &RouterWindow::toggleFullScreen);
}

void RouterWindow::selectPreviousSet() {
    setBar_->selectNeighbour(-1);
}

void RouterWindow::selectNextSet() {
    setBar_->selectNeighbour(1);
}

void RouterWindow::toggleFullScreen() {
    setWindowState(windowState() ^ Qt::WindowFullScreen);
}

void RouterWindow::focusFilter() {
    const bool isInOutputs = outputs_->isAncestorOf(focusWidget());
    const bool goesToOutputs = isInOutputs ? !outputs_->filter().isFieldFocused() : inputs_->filter().isFieldFocused();
    (goesToOutputs ? outputs_ : inputs_)->filter().focusField();
}

void RouterWindow::refresh(const ModelChanges& changes) {
    header_->refresh(changes);
    setBar_->refresh(changes);
    refreshColumns(changes);
    graph_->refresh(changes);
    list_->refresh(changes);
    statusBar_->refresh(changes);
    if (settings_) {
        settings_->refresh(changes);
    }
    if (changes.containAny({ModelChanges::Property::routes})) {
        fitBands();
    }
    if (changes.containAny({ModelChanges::Property::routes, ModelChanges::Property::selectedRouteID})) {
        showSelectedConnection();
    }
}

void RouterWindow::showSelectedConnection() {
    const std::optional<UUID>& selection = model_.selectedRouteID();
    const MIDIRoute* const route = selection ? model_.route(*selection) : nullptr;
    const QColor colour = route != nullptr ? RouteColorPalette::color(route->id, model_.routes()) : QColor();
    inputs_->setConnectionMark(route != nullptr ? std::optional(route->sourceID) : std::nullopt, colour);
    outputs_->setConnectionMark(route != nullptr ? std::optional(route->destinationID) : std::nullopt, colour);
    const std::optional<UUID> doomed = header_->isBinAttended() ? selection : std::nullopt;
    graph_->setEmphasizedRoute(doomed);
    list_->setEmphasizedRoute(doomed);
}

void RouterWindow::deselectAll() {
    model_.setSelectedRouteID(std::nullopt);
    model_.setSelectedSourceID(std::nullopt);
    model_.setSelectedDestinationID(std::nullopt);
}

EndpointColumn::Aliases RouterWindow::aliases(MIDIEndpointDirection direction,
                                              const std::vector<MIDIEndpointModel>& endpoints) const {
    EndpointColumn::Aliases aliases;
    for (const MIDIEndpointModel& endpoint : endpoints) {
        if (const std::string* const alias = model_.endpointAliases().find(direction, endpoint.id); alias != nullptr) {
            aliases.emplace(endpoint.id, toQString(*alias));
        }
    }
    return aliases;
}

void RouterWindow::refreshColumns(const ModelChanges& changes) {
    using Property = ModelChanges::Property;
    if (changes.containAny({Property::sources})) {
        inputs_->setEndpoints(model_.sources(), aliases(MIDIEndpointDirection::source, model_.sources()));
    }
    if (changes.containAny({Property::destinations})) {
        outputs_->setEndpoints(model_.destinations(),
                               aliases(MIDIEndpointDirection::destination, model_.destinations()));
    }
    if (changes.containAny({Property::routes})) {
        std::unordered_set<std::int32_t> inputIDs;
        std::unordered_set<std::int32_t> outputIDs;
        for (const MIDIRoute& route : model_.routes()) {
            inputIDs.insert(route.sourceID);
            outputIDs.insert(route.destinationID);
        }
        inputs_->setConnectedEndpoints(std::move(inputIDs));
        outputs_->setConnectedEndpoints(std::move(outputIDs));
    }
    if (changes.containAny({Property::selectedSourceID})) {
        inputs_->setSelection(model_.selectedSourceID());
    }
    if (changes.containAny({Property::selectedDestinationID})) {
        outputs_->setSelection(model_.selectedDestinationID());
    }
    if (changes.containAny({Property::selectedRouteSetID, Property::selectedRouteID})) {
        showConnectionEnds();
    }
}

void RouterWindow::showConnectionEnds() {
    const bool isOtherSet = std::exchange(shownSetID_, model_.selectedRouteSetID()) != model_.selectedRouteSetID();
    const std::optional<UUID>& selected = model_.selectedRouteID();
    const bool isOtherRoute = std::exchange(shownRouteID_, selected) != selected;
    if (selected && isOtherRoute) {
        if (const MIDIRoute* const route = model_.route(*selected); route != nullptr) {
            showEnds(*route);
        }
    } else if (isOtherSet && !model_.routes().empty()) {
        showEnds(model_.routes().front());
    }
}

void RouterWindow::showEnds(const MIDIRoute& route) {
    inputs_->showEndpoint(route.sourceID);
    outputs_->showEndpoint(route.destinationID);
}

void RouterWindow::fitBands() {
    list_->setFixedHeight(RouteList::heightIn(height(), !model_.routes().empty()));
    const int column = std::clamp((width() - kStageWidth) / 2, 0, EndpointColumn::kWidth);
    inputs_->setFixedWidth(column);
    outputs_->setFixedWidth(column);
}

void RouterWindow::updateConnectorPositions() {
    EndpointConnectorYPositions positions;
    inputs_->reportConnectorPositions(positions);
    outputs_->reportConnectorPositions(positions);
    endpointConnectorYPositions_ = std::move(positions);
    const auto range = [](const EndpointColumn& column) {
        const QRect rows = column.rowsRect();
        return EndpointViewports::Range{static_cast<double>(rows.top()),
                                        static_cast<double>(rows.top() + rows.height())};
    };
    graph_->setConnectorPositions(endpointConnectorYPositions_,
                                  {.inputs = range(*inputs_), .outputs = range(*outputs_)});
}

void RouterWindow::installShortcutMonitor() {
    if (!shortcutMonitor_) {
        shortcutMonitor_ = std::make_unique<ShortcutMonitor>(model_);
        // Created last, because the filter that is installed last sees keys first.
        heldKeys_ = std::make_unique<HeldKeys>();
    }
}

void RouterWindow::removeShortcutMonitor() {
    heldKeys_.reset();
    shortcutMonitor_.reset();
}

bool RouterWindow::isSettingsPresented() const {
    return settings_ != nullptr;
}

void RouterWindow::presentSettings() {
    if (!settings_) {
        settings_ = new SettingsSheet(model_, look_, this);
        settings_->show();
    }
}

void RouterWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    installShortcutMonitor();
    emit appeared();
}

void RouterWindow::hideEvent(QHideEvent* event) {
    removeShortcutMonitor();
    QMainWindow::hideEvent(event);
}

void RouterWindow::closeEvent(QCloseEvent* event) {
    emit closed();
    QMainWindow::closeEvent(event);
}

void RouterWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        deselectAll();
        return;
    }
    QMainWindow::keyPressEvent(event);
}

void RouterWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    fitBands();
}

}  // namespace corvel::ui
