#include "ui/RouterWindow/RouteList.hpp"

#include "ui/RouterWindow/ChannelAssignmentDialog.hpp"
#include "ui/RouterWindow/RouteColorPalette.hpp"
#include "ui/RouterWindow/RouteMenu.hpp"
#include "ui/RouterWindow/RouteRow.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/LookScrollArea.hpp"
#include "ui/controls/Painting.hpp"

#include <QDeadlineTimer>
#include <QEasingCurve>
#include <QPainter>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kHeadingHeight = 36;
constexpr int kHeadingX = 16;
constexpr int kHandleDistance = 2;
constexpr int kScrollDuration = 180;
/// More rows than any screen shows.
constexpr std::size_t kRowsAtOnce = 16;
/// How long making rows holds up the main thread at a time, at most by one row more.
constexpr std::chrono::milliseconds kMakingSlice(3);
constexpr std::size_t kDestroyedAtOnce = 8;

constexpr int kHeightWithoutRoutes = 40;
constexpr int kLeastHeight = 180;
constexpr double kShareOfWindow = 0.36;
/// Header, set bar and status bar.
constexpr int kOtherBands = 128;

QEasingCurve easeInOut() {
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment({0.42, 0}, {0.58, 1}, {1, 1});
    return curve;
}

}  // namespace

RouteList::RouteList(MIDIRouterViewModel& model, const Look& look, QWidget* parent)
    : QWidget(parent),
      model_(model),
      look_(look),
      heading_(new LookLabel(look, Look::font(13, QFont::DemiBold), &Theme::text2, this)),
      scrollArea_(new LookScrollArea(look, this)) {
    heading_->setText(QStringLiteral("Connections"));
    scrollArea_->setScrollBarSide(Qt::RightEdge, kHandleDistance);

    auto* const content = new QWidget;
    auto* const layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addStretch(1);
    scrollArea_->setWidget(content);

    scrolling_.setEasingCurve(easeInOut());
    QScrollBar* const bar = scrollArea_->verticalScrollBar();
    scrolling_.setStartValue(0.0);
    scrolling_.setEndValue(1.0);
    connect(&rowMaking_, &QTimer::timeout, this, &RouteList::makeMoreRows);
    connect(&scrolling_, &QVariantAnimation::valueChanged, this, &RouteList::scrollOn);
    connect(bar, &QScrollBar::valueChanged, this, &RouteList::showStatuses);
    connect(&look, &Look::changed, this, [this] { update(); });
    refresh(ModelChanges::all());
}

int RouteList::heightIn(int windowHeight, bool hasRoutes) {
    if (!hasRoutes) {
        return kHeightWithoutRoutes;
    }
    return std::max(kLeastHeight, static_cast<int>(std::lround(kShareOfWindow * (windowHeight - kOtherBands))));
}

void RouteList::refresh(const ModelChanges& changes) {
    using Property = ModelChanges::Property;
    if (changes.containAny({Property::routes, Property::sources, Property::destinations})) {
        showRoutes();
    }
    if (changes.containAny({Property::selectedRouteSetID}) &&
        std::exchange(shownSetID_, model_.selectedRouteSetID()) != model_.selectedRouteSetID()) {
        scrolling_.stop();
        scrollArea_->verticalScrollBar()->setValue(0);
    }
    if (changes.containAny({Property::routes, Property::selectedRouteID})) {
        showSelection();
    }
    if (changes.containAny({Property::activityEvents})) {
        showStatuses();
    }
    if (dialog_ != nullptr) {
        dialog_->refresh();
    }
}

void RouteList::showRoutes() {
    std::unordered_multimap<UUID, RouteRow*> present;
    for (RouteRow* const row : rows_) {
        present.emplace(row->routeID(), row);
    }
    std::vector<RouteRow*> rows;
    std::size_t made = 0;
    for (const MIDIRoute& route : model_.routes()) {
        const QColor colour = RouteColorPalette::color(route.id, model_.routes());
        if (const auto found = present.find(route.id); found != present.end()) {
            found->second->showRoute(route, colour);
            rows.push_back(found->second);
            present.erase(found);
        } else if (made++ < kRowsAtOnce) {
            rows.push_back(makeRow(route, colour));
        } else {
            break;
        }
    }
    for (const auto& [id, row] : present) {
        // Its own click may be what removed it.
        row->hide();
        formerRows_.emplace_back(row);
    }
    scrollArea_->widget()->setMinimumHeight(static_cast<int>(model_.routes().size()) * RouteRow::kHeight);
    if (rows != std::exchange(rows_, rows)) {
        orderRows(0);
    }
    rowMaking_.start();
}

void RouteList::makeMoreRows() {
    const std::vector<MIDIRoute>& routes = model_.routes();
    const QDeadlineTimer end(kMakingSlice);
    const std::size_t first = rows_.size();
    // Only as long as the rows are the first of the connections; if not, the news of that is on its way.
    const bool fits = first <= routes.size() && (first == 0 || rows_.back()->routeID() == routes[first - 1].id);
    while (fits && rows_.size() < routes.size() && !end.hasExpired()) {
        const MIDIRoute& route = routes[rows_.size()];
        rows_.push_back(makeRow(route, RouteColorPalette::color(route.id, routes)));
    }
    if (rows_.size() > first) {
        orderRows(first);
        showSelection();
    }
    for (std::size_t count = 0; !formerRows_.empty() && count < kDestroyedAtOnce; ++count) {
        if (RouteRow* const row = formerRows_.back(); row != nullptr) {
            row->deleteLater();
        }
        formerRows_.pop_back();
    }
    if (formerRows_.empty() && (!fits || rows_.size() == routes.size())) {
        rowMaking_.stop();
    }
}

RouteRow* RouteList::makeRow(const MIDIRoute& route, const QColor& colour) {
    auto* const row = new RouteRow(model_, look_, route, colour, scrollArea_->widget());
    connect(row, &RouteRow::neighbourRequested, this, [this, row](int offset) { selectNeighbour(row, offset); });
    connect(row, &RouteRow::addRequested, this, [this, row] { openDialog(row->routeID(), Purpose::add); });
    connect(row, &RouteRow::menuRequested, this, [this, row](const QPoint& place) { openMenu(row->routeID(), place); });
    connect(row, &RouteRow::editRequested, this, [this, row] { openDialog(row->routeID(), Purpose::edit); });
    return row;
}

void RouteList::orderRows(std::size_t first) {
    auto& layout = static_cast<QVBoxLayout&>(*scrollArea_->widget()->layout());
    QWidget* previous = first > 0 ? rows_[first - 1]->focusViews().back() : nullptr;
    for (std::size_t index = first; index < rows_.size(); ++index) {
        layout.insertWidget(static_cast<int>(index), rows_[index]);
        rows_[index]->show();
        for (QWidget* const view : rows_[index]->focusViews()) {
            if (previous != nullptr) {
                setTabOrder(previous, view);
            }
            previous = view;
        }
    }
}

void RouteList::showSelection() {
    const std::optional<UUID>& selection = model_.selectedRouteID();
    bool isPreviousSelected = true;
    for (RouteRow* const row : rows_) {
        const bool isSelected = row->routeID() == selection;
        row->setSelected(isSelected);
        row->setHairline(!isSelected && !isPreviousSelected);
        isPreviousSelected = isSelected;
    }
    const bool isMade = selection && std::ranges::find(rows_, *selection, &RouteRow::routeID) != rows_.end();
    if (selection && !isMade && model_.route(*selection) != nullptr) {
        // Its row is still to be made.
        return;
    }
    if (selection != std::exchange(shownSelection_, selection) && isMade) {
        scrollToSelectedRoute();
    }
}

void RouteList::scrollToSelectedRoute() {
    scrollStart_ = scrollArea_->verticalScrollBar()->value();
    scrolling_.stop();
    // Even where nothing moves: list and rows get their sizes when the main loop comes round again.
    scrolling_.setDuration(std::max(1, animationDuration(*this, kScrollDuration)));
    scrolling_.start();
}

void RouteList::scrollOn(const QVariant& progress) {
    const auto found = std::ranges::find(rows_, shownSelection_, &RouteRow::routeID);
    if (found == rows_.end()) {
        scrolling_.stop();
        return;
    }
    QScrollBar& bar = *scrollArea_->verticalScrollBar();
    const auto index = static_cast<int>(found - rows_.begin());
    const int middle = RouteRow::kHeight * index + RouteRow::kHeight / 2;
    const int target = std::clamp(middle - scrollArea_->viewport()->height() / 2, 0, bar.maximum());
    bar.setValue(scrollStart_ + static_cast<int>(std::lround((target - scrollStart_) * progress.toReal())));
}

void RouteList::showStatuses() {
    const int top = scrollArea_->verticalScrollBar()->value();
    const int bottom = top + scrollArea_->viewport()->height();
    const auto end = std::min<std::size_t>(rows_.size(), static_cast<std::size_t>(bottom / RouteRow::kHeight + 1));
    for (auto index = static_cast<std::size_t>(top / RouteRow::kHeight); index < end; ++index) {
        rows_[index]->showStatus();
    }
}

void RouteList::selectNeighbour(const RouteRow* row, int offset) {
    const auto found = std::ranges::find(rows_, row);
    const auto neighbour = found - rows_.begin() + offset;
    if (neighbour < 0 || neighbour >= std::ssize(rows_)) {
        return;
    }
    RouteRow* const other = rows_[static_cast<std::size_t>(neighbour)];
    model_.setSelectedRouteID(other->routeID());
    // As if tabbed to: whoever uses the keyboard sees where it goes.
    other->setFocus(Qt::TabFocusReason);
}

void RouteList::openMenu(const UUID& routeID, const QPoint& place) {
    openRouteMenu(model_, look_, routeID,
                  {.add = [this, routeID] { openDialog(routeID, Purpose::add); },
                   .edit = [this, routeID] { openDialog(routeID, Purpose::edit); }},
                  place, this);
}

void RouteList::openDialog(const UUID& routeID, Purpose purpose) {
    const MIDIRoute* const route = model_.route(routeID);
    if (route == nullptr || (dialog_ != nullptr && dialog_->isVisible())) {
        return;
    }
    dialog_ = purpose == Purpose::add ? ChannelAssignmentDialog::forAdding(model_, look_, *route, this)
                                      : ChannelAssignmentDialog::forEditing(model_, look_, *route, this);
    if (dialog_ != nullptr) {
        dialog_->show();
    }
}

void RouteList::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    heading_->setGeometry(kHeadingX, 0, width() - 2 * kHeadingX, kHeadingHeight);
    scrollArea_->setGeometry(0, kHeadingHeight, width(), std::max(0, height() - kHeadingHeight));
    showStatuses();
}

void RouteList::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), look_.theme().surface);
    paintHairline(painter, {0, 0}, width(), look_.theme().hairline);
}

}  // namespace corvel::ui
