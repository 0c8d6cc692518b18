#include "ui/RouterWindow/RouterWindow.hpp"

#include "ui/RouterWindow/ConnectionSetBar.hpp"
#include "ui/RouterWindow/EndpointColumn.hpp"
#include "ui/RouterWindow/HeaderBar.hpp"
#include "ui/RouterWindow/RouteGraph.hpp"
#include "ui/RouterWindow/RouteList.hpp"
#include "ui/RouterWindow/SettingsSheet.hpp"
#include "ui/RouterWindow/ShortcutMonitor.hpp"
#include "ui/RouterWindow/StatusBar.hpp"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace corvel::ui {

namespace {

/// Minimum width of the stage, which comes before the columns' in a window that is too narrow for all.
constexpr int kStageWidth = 80;

}  // namespace

RouterWindow::RouterWindow(MIDIRouterViewModel& model, const Look& look, std::shared_ptr<const Clock> clock,
                           const QList<QAction*>& menu, const QString& demoReason)
    : model_(model),
      look_(look),
      header_(new HeaderBar(model, look, menu, demoReason, this)),
      setBar_(new ConnectionSetBar(model, look, this)),
      inputs_(new EndpointColumn(look, QStringLiteral("Input"), MIDIEndpointDirection::source, this)),
      outputs_(new EndpointColumn(look, QStringLiteral("Output"), MIDIEndpointDirection::destination, this)),
      graph_(new RouteGraph(model, look, std::move(clock), this)),
      list_(new RouteList(model, look, this)),
      statusBar_(new StatusBar(model, look, this)),
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
    // In a window that is too small for all, these give way and nothing lies over anything else.
    for (QWidget* const view : std::initializer_list<QWidget*>{inputs_, outputs_, graph_}) {
        view->setMinimumHeight(1);
    }

    connectColumns();
    connect(header_, &HeaderBar::settingsRequested, this, &RouterWindow::presentSettings);
    connect(&modelRefresh_, &ModelRefresh::changed, this, &RouterWindow::refresh);
    refreshColumns(ModelChanges::all());
    fitBands();
}

RouterWindow::~RouterWindow() = default;

void RouterWindow::connectColumns() {
    connect(inputs_, &EndpointColumn::endpointSelected, this,
            [this](std::int32_t id) { model_.setSelectedSourceID(id); });
    connect(outputs_, &EndpointColumn::endpointSelected, this,
            [this](std::int32_t id) { model_.setSelectedDestinationID(id); });
    connect(outputs_, &EndpointColumn::sourceDropped, this,
            [this](std::int32_t sourceID, std::int32_t destinationID) { model_.connect(sourceID, destinationID); });
    for (const EndpointColumn* const column : {inputs_, outputs_}) {
        connect(column, &EndpointColumn::connectorPositionsChanged, this, &RouterWindow::updateConnectorPositions);
    }
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
}

void RouterWindow::refreshColumns(const ModelChanges& changes) {
    using Property = ModelChanges::Property;
    if (changes.containAny({Property::sources})) {
        inputs_->setEndpoints(model_.sources());
    }
    if (changes.containAny({Property::destinations})) {
        outputs_->setEndpoints(model_.destinations());
    }
    if (changes.containAny({Property::selectedSourceID})) {
        inputs_->setSelection(model_.selectedSourceID());
    }
    if (changes.containAny({Property::selectedDestinationID})) {
        outputs_->setSelection(model_.selectedDestinationID());
    }
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
    graph_->setConnectorPositions(endpointConnectorYPositions_);
}

void RouterWindow::installShortcutMonitor() {
    if (!shortcutMonitor_) {
        shortcutMonitor_ = std::make_unique<ShortcutMonitor>(model_);
    }
}

void RouterWindow::removeShortcutMonitor() {
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

void RouterWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    fitBands();
}

}  // namespace corvel::ui
