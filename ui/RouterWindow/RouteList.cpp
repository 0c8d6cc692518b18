#include "ui/RouterWindow/RouteList.hpp"

#include "ui/RouterWindow/ChannelAssignmentDialog.hpp"
#include "ui/RouterWindow/RouteColorPalette.hpp"
#include "ui/RouterWindow/RouteMenu.hpp"
#include "ui/RouterWindow/RouteRow.hpp"
#include "ui/controls/Accessibility.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/LookScrollArea.hpp"
#include "ui/controls/Painting.hpp"
#include "ui/controls/PopUpButton.hpp"

#include <QApplication>
#include <QDeadlineTimer>
#include <QEasingCurve>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kHeadingHeight = 36;
constexpr int kHeadingX = 16;
constexpr int kHandleDistance = 2;
constexpr int kScrollDuration = 180;
/// More rows than fit on any screen.
constexpr std::size_t kRowsAtOnce = 16;
/// Maximum time for which creating rows blocks the main thread, plus at most one row.
constexpr std::chrono::milliseconds kMakingSlice(3);
constexpr std::size_t kDestroyedAtOnce = 8;

constexpr int kHeightWithoutRoutes = 40;
constexpr int kMinimumHeight = 180;
/// Minimum height of the stage. If the window is too low, the stage takes precedence over the list.
constexpr int kStageHeight = 96;
constexpr double kShareOfWindow = 0.36;
/// Height of header, set bar and status bar.
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
      scrollArea_(new LookScrollArea(look, this)),
      tabPlace_(makeTabPlace(*this)) {
    heading_->setText(QStringLiteral("Connections"));
    scrollArea_->setScrollBarSide(Qt::RightEdge, kHandleDistance);

    auto* const content = new QWidget;
    auto* const layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addStretch(1);
    setAccessibleRole(*content, QAccessible::List);
    content->setAccessibleName(heading_->text());
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
    const int room = windowHeight - kOtherBands;
    const int wanted = hasRoutes ? std::max(kMinimumHeight, static_cast<int>(std::lround(kShareOfWindow * room)))
                                 : kHeightWithoutRoutes;
    return std::clamp(room - kStageHeight, 0, wanted);
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
    const std::unordered_set<UUID> feedback = model_.feedbackRouteIDs();
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
        rows.back()->setFeedsBack(feedback.contains(route.id));
    }
    const RouteRow* const focusedRow = rowOf(QApplication::focusWidget());
    const auto focusedPlace = static_cast<std::size_t>(std::ranges::find(rows_, focusedRow) - rows_.begin());
    if (rows != std::exchange(rows_, rows)) {
        orderRows(0);
    }
    if (focusedRow != nullptr) {
        keepFocus(QApplication::focusWidget(), focusedPlace);
    }
    for (const auto& [id, row] : present) {
        // The row may be handling the click that removed it, so it is not deleted here.
        row->hide();
        formerRows_.emplace_back(row);
    }
    scrollArea_->widget()->setMinimumHeight(static_cast<int>(model_.routes().size()) * RouteRow::kHeight);
    setTabStop(rowOf(QApplication::focusWidget()));
    rowMaking_.start();
}

void RouteList::makeMoreRows() {
    const std::vector<MIDIRoute>& routes = model_.routes();
    const QDeadlineTimer end(kMakingSlice);
    const std::size_t first = rows_.size();
    // Only while the rows are those of the first connections; otherwise a notification of the change is already on its
    // way.
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
    for (QWidget* const view : row->focusViews()) {
        view->installEventFilter(this);
    }
    connect(row, &RouteRow::addRequested, this, [this, row] { openDialog(row->routeID(), Purpose::add); });
    connect(row, &RouteRow::menuRequested, this, [this, row](const QPoint& place) { openMenu(row->routeID(), place); });
    connect(row, &RouteRow::editRequested, this, [this, row] { openDialog(row->routeID(), Purpose::edit); });
    return row;
}

void RouteList::orderRows(std::size_t first) {
    auto& layout = static_cast<QVBoxLayout&>(*scrollArea_->widget()->layout());
    // Otherwise new rows, and all rows after them, would come last in the window's tab order.
    QWidget* previous = first > 0 ? rows_[first - 1]->focusViews().back() : tabPlace_;
    for (std::size_t index = first; index < rows_.size(); ++index) {
        layout.insertWidget(static_cast<int>(index), rows_[index]);
        rows_[index]->show();
        for (QWidget* const view : rows_[index]->focusViews()) {
            setTabOrder(previous, view);
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
    setTabStop(rowOf(QApplication::focusWidget()));
    const bool isMade = selection && std::ranges::find(rows_, *selection, &RouteRow::routeID) != rows_.end();
    if (selection && !isMade && model_.route(*selection) != nullptr) {
        // The row has not been created yet.
        return;
    }
    if (selection != std::exchange(shownSelection_, selection) && isMade) {
        scrollToSelectedRoute();
    }
}

void RouteList::scrollToSelectedRoute() {
    scrollStart_ = scrollArea_->verticalScrollBar()->value();
    scrolling_.stop();
    // At least 1 ms, also without animation: list and rows get their sizes on the next turn of the main loop.
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

RouteRow* RouteList::rowOf(const QWidget* view) const {
    const auto found =
        std::ranges::find_if(rows_, [view](const RouteRow* row) { return row == view || row->isAncestorOf(view); });
    return found != rows_.end() ? *found : nullptr;
}

void RouteList::setTabStop(const RouteRow* stop) {
    if (rows_.empty()) {
        return;
    }
    const auto selected = std::ranges::find_if(rows_, &RouteRow::isSelected);
    if (stop == nullptr) {
        stop = selected != rows_.end() ? *selected : rows_.front();
    }
    for (RouteRow* const row : rows_) {
        row->setFocusPolicy(row == stop ? Qt::StrongFocus : Qt::ClickFocus);
    }
}

void RouteList::keepFocus(const QWidget* focus, std::size_t place) {
    if (rowOf(focus) != nullptr || rows_.empty()) {
        return;
    }
    const auto selected = std::ranges::find(rows_, model_.selectedRouteID(), &RouteRow::routeID);
    RouteRow* const heir = selected != rows_.end() ? *selected : rows_[std::min(place, rows_.size() - 1)];
    heir->setFocus(Qt::TabFocusReason);
}

void RouteList::goTo(std::ptrdiff_t place, std::size_t column) {
    if (place < 0 || place >= std::ssize(rows_)) {
        return;
    }
    RouteRow* const row = rows_[static_cast<std::size_t>(place)];
    model_.setSelectedRouteID(row->routeID());
    QWidget* const view = row->focusViews()[column];
    // With the reason "Tab", so that keyboard users see the focus ring.
    (view->isEnabled() ? view : row)->setFocus(Qt::TabFocusReason);
}

bool RouteList::moveFocus(QWidget* from, int key) {
    RouteRow* const row = rowOf(from);
    if (row == nullptr) {
        return false;
    }
    const std::ptrdiff_t place = std::ranges::find(rows_, row) - rows_.begin();
    const std::vector<QWidget*> views = row->focusViews();
    const auto at = std::ranges::find(views, from);
    const auto column = static_cast<std::size_t>(at - views.begin());
    const auto isEnabled = [](const QWidget* view) { return view->isEnabled(); };
    switch (key) {
        case Qt::Key_Up:
            goTo(place - 1, column);
            return true;
        case Qt::Key_Down:
            goTo(place + 1, column);
            return true;
        case Qt::Key_Home:
            goTo(0, column);
            return true;
        case Qt::Key_End:
            goTo(std::ssize(rows_) - 1, column);
            return true;
        case Qt::Key_Left:
            if (const auto next = std::find_if(std::make_reverse_iterator(at), views.rend(), isEnabled);
                next != views.rend()) {
                (*next)->setFocus(Qt::BacktabFocusReason);
            }
            return true;
        case Qt::Key_Right:
            if (const auto next = std::find_if(std::next(at), views.end(), isEnabled); next != views.end()) {
                (*next)->setFocus(Qt::TabFocusReason);
            }
            return true;
        default:
            return false;
    }
}

bool RouteList::eventFilter(QObject* watched, QEvent* event) {
    auto* const view = qobject_cast<QWidget*>(watched);
    if (event->type() == QEvent::FocusIn) {
        if (RouteRow* const row = rowOf(view); row != nullptr) {
            setTabStop(row);
            // If a row moved under the pointer, the click would miss it.
            if (static_cast<QFocusEvent*>(event)->reason() != Qt::MouseFocusReason) {
                scrollArea_->ensureWidgetVisible(row, 0, 0);
            }
        }
    }
    if (event->type() == QEvent::KeyPress) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        const bool isPlain = (key.modifiers() & ~Qt::KeyboardModifiers(Qt::KeypadModifier)) == Qt::NoModifier;
        // Up and Down open a pop-up.
        const bool isForPopUp =
            qobject_cast<PopUpButton*>(view) != nullptr && (key.key() == Qt::Key_Up || key.key() == Qt::Key_Down);
        return isPlain && !isForPopUp && moveFocus(view, key.key());
    }
    return QWidget::eventFilter(watched, event);
}

void RouteList::setEmphasizedRoute(const std::optional<UUID>& routeID) {
    for (RouteRow* const row : rows_) {
        row->setEmphasized(row->routeID() == routeID);
    }
}

void RouteList::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Delete && event->modifiers() == Qt::NoModifier) {
        model_.deleteSelectedRoute();
        return;
    }
    QWidget::keyPressEvent(event);
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
    // Selected first, because the dialog refers to the selected connection.
    model_.setSelectedRouteID(routeID);
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
