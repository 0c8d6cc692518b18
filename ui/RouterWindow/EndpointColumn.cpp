#include "ui/RouterWindow/EndpointColumn.hpp"

#include "app/TextLine.hpp"
#include "ui/QtText.hpp"
#include "ui/RouterWindow/EndpointFilterBar.hpp"
#include "ui/RouterWindow/EndpointRow.hpp"
#include "ui/RouterWindow/EndpointSelectionDetails.hpp"
#include "ui/controls/Accessibility.hpp"
#include "ui/controls/LookButton.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/LookScrollArea.hpp"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kRowGap = 8;
constexpr int kOuterMargin = 12;
constexpr int kHairline = 1;
constexpr int kScrollBarMargin = 4;
constexpr int kNoticePadding = 16;

}  // namespace

EndpointColumn::EndpointColumn(const Look& look, const QString& title, MIDIEndpointDirection direction, QWidget* parent)
    : QWidget(parent),
      look_(look),
      direction_(direction),
      filter_(new EndpointFilterBar(
          look, title,
          direction == MIDIEndpointDirection::source ? QStringLiteral("inputs") : QStringLiteral("outputs"), this)),
      nothingAdmitted_(new LookLabel(look, Look::font(13), &Theme::text2, this)),
      tabPlace_(makeTabPlace(*this)),
      rowArea_(new QWidget),
      rowLayout_(new QVBoxLayout(rowArea_)),
      scrollArea_(new LookScrollArea(look, this)),
      details_(new EndpointSelectionDetails(look, this)) {
    setFixedWidth(kWidth);
    setAccessibleName(title);
    const bool isInput = direction == MIDIEndpointDirection::source;

    nothingAdmitted_->setText(isInput ? QStringLiteral("No input matches the filter")
                                      : QStringLiteral("No output matches the filter"));
    nothingAdmitted_->setContentsMargins(kNoticePadding, kRowGap, kNoticePadding, kRowGap);
    nothingAdmitted_->hide();

    rowLayout_->setContentsMargins(isInput ? kOuterMargin : 0, 0, isInput ? 0 : kOuterMargin, kRowGap);
    rowLayout_->setSpacing(kRowGap);
    rowLayout_->addStretch();
    scrollArea_->setWidget(rowArea_);
    scrollArea_->setWidgetResizable(true);
    scrollArea_->setScrollBarSide(isInput ? Qt::LeftEdge : Qt::RightEdge, kScrollBarMargin);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(isInput ? 0 : kHairline, 0, isInput ? kHairline : 0, 0);
    layout->setSpacing(0);
    layout->addWidget(filter_);
    layout->addWidget(nothingAdmitted_);
    layout->addWidget(scrollArea_, 1);
    layout->addWidget(details_);

    setAccessibleRole(*rowArea_, QAccessible::List);
    rowArea_->setAccessibleName(title);
    rowArea_->installEventFilter(this);
    scrollArea_->viewport()->installEventFilter(this);
    connect(filter_, &EndpointFilterBar::changed, this, [this] {
        showAdmitted();
        emit connectorPositionsChanged();
    });
    connect(filter_, &EndpointFilterBar::rowsRequested, this, &EndpointColumn::focusRows);
    connect(scrollArea_->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &EndpointColumn::connectorPositionsChanged);
    connect(&look, &Look::changed, this, [this] { update(); });
}

EndpointRow* EndpointColumn::makeRow(const MIDIEndpointModel& endpoint) {
    auto* const row = new EndpointRow(look_, endpoint, rowArea_);
    row->installEventFilter(this);
    row->show();
    connect(row, &QAbstractButton::clicked, this, [this, row] { emit endpointSelected(row->endpoint().id); });
    connect(row, &EndpointRow::dragStarted, this, [this, row](QDrag* drag) {
        emit endpointSelected(row->endpoint().id);
        emit dragStarted(drag, row);
    });
    connect(row, &EndpointRow::menuRequested, this,
            [this, row](const QPoint& place) { emit menuRequested(row->endpoint().id, place); });
    connect(row, &EndpointRow::endpointDropped, this, [this, row](std::int32_t other) {
        const std::int32_t own = row->endpoint().id;
        const bool isInput = direction_ == MIDIEndpointDirection::source;
        emit connectionRequested(isInput ? own : other, isInput ? other : own);
    });
    return row;
}

void EndpointColumn::setEndpoints(const std::vector<MIDIEndpointModel>& endpoints, const Aliases& aliases) {
    endpoints_ = endpoints;
    aliases_ = aliases;
    showAdmitted();
}

void EndpointColumn::setConnectedEndpoints(std::unordered_set<std::int32_t> endpointIDs) {
    connectedIDs_ = std::move(endpointIDs);
    if (filter_->showsConnectedOnly()) {
        showAdmitted();
    }
}

bool EndpointColumn::admits(const MIDIEndpointModel& endpoint) const {
    QStringList names{toQString(endpoint.displayName), toQString(shownName(endpoint.displayName))};
    if (const auto alias = aliases_.find(endpoint.id); alias != aliases_.end()) {
        names << alias->second;
    }
    return filter_->admits(names, connectedIDs_.contains(endpoint.id));
}

void EndpointColumn::showAdmitted() {
    std::unordered_multimap<std::int32_t, EndpointRow*> former;
    const auto focused = std::ranges::find_if(rows_, [](const EndpointRow* row) { return row->hasFocus(); });
    EndpointRow* const focusedRow = focused != rows_.end() ? *focused : nullptr;
    const auto focusedPlace = static_cast<std::size_t>(focused - rows_.begin());
    for (EndpointRow* const row : std::exchange(rows_, {})) {
        former.emplace(row->endpoint().id, row);
    }
    for (const MIDIEndpointModel& endpoint : endpoints_) {
        if (!admits(endpoint)) {
            continue;
        }
        const auto kept = former.extract(endpoint.id);
        EndpointRow* const row = kept ? kept.mapped() : makeRow(endpoint);
        row->setEndpoint(endpoint);
        const auto alias = aliases_.find(endpoint.id);
        row->setAlias(alias == aliases_.end() ? QString() : alias->second);
        rows_.push_back(row);
    }
    if (focusedRow != nullptr && std::ranges::find(rows_, focusedRow) == rows_.end()) {
        // Otherwise the toolkit would move the focus to the view after the column.
        QWidget* const heir =
            rows_.empty() ? this : static_cast<QWidget*>(rows_[std::min(focusedPlace, rows_.size() - 1)]);
        heir->setFocus(focusedRow->showsFocus() ? Qt::TabFocusReason : Qt::OtherFocusReason);
    }
    for (const auto& [id, row] : former) {
        row->hide();
        // Later, because the row may be in the middle of its own drag.
        row->deleteLater();
    }
    nothingAdmitted_->setVisible(rows_.empty() && !endpoints_.empty());
    arrangeRows();
    updateSelection();
    updateConnectionMark();
}

void EndpointColumn::arrangeRows() {
    for (std::size_t index = 0; index < rows_.size(); ++index) {
        const auto place = static_cast<int>(index);
        const QLayoutItem* const there = rowLayout_->itemAt(place);
        if (there == nullptr || there->widget() != rows_[index]) {
            rowLayout_->removeWidget(rows_[index]);
            rowLayout_->insertWidget(place, rows_[index]);
        }
    }
    // Otherwise a new row, and all rows after it, would come last in the window's tab order.
    QWidget* previous = tabPlace_;
    for (EndpointRow* const row : rows_) {
        setTabOrder(previous, row);
        previous = row;
    }
}

void EndpointColumn::setSelection(const std::optional<std::int32_t>& selection) {
    const bool isNew = selection != selection_;
    selection_ = selection;
    updateSelection();
    if (!isNew) {
        return;
    }
    if (selection_) {
        showEndpoint(*selection_);
    }
}

void EndpointColumn::setConnectionMark(const std::optional<std::int32_t>& endpointID, const QColor& colour) {
    markedID_ = endpointID;
    markColour_ = colour;
    updateConnectionMark();
}

void EndpointColumn::updateConnectionMark() {
    for (EndpointRow* const row : rows_) {
        row->setConnectionMark(row->endpoint().id == markedID_ ? std::optional(markColour_) : std::nullopt);
    }
}

EndpointRow* EndpointColumn::row(std::int32_t endpointID) const {
    const auto found = std::ranges::find(rows_, endpointID, [](const EndpointRow* row) { return row->endpoint().id; });
    return found == rows_.end() ? nullptr : *found;
}

const EndpointRow* EndpointColumn::rowAt(QPoint point) const {
    if (!rowsRect().contains(point)) {
        return nullptr;
    }
    const auto found = std::ranges::find_if(rows_, [this, point](const EndpointRow* row) {
        return QRect(row->mapTo(window(), QPoint()), row->size()).contains(point);
    });
    return found == rows_.end() ? nullptr : *found;
}

QRect EndpointColumn::rowsRect() const {
    const QWidget& viewport = *scrollArea_->viewport();
    return {viewport.mapTo(window(), QPoint()), viewport.size()};
}

void EndpointColumn::showEndpoint(std::int32_t endpointID) {
    if (EndpointRow* const shown = row(endpointID); shown != nullptr) {
        rowArea_->layout()->activate();
        scrollArea_->ensureWidgetVisible(shown, 0, kRowGap);
    }
}

void EndpointColumn::centreEndpoint(std::int32_t endpointID) {
    if (row(endpointID) == nullptr && filter_->isActive()) {
        filter_->clear();
    }
    if (EndpointRow* const shown = row(endpointID); shown != nullptr) {
        rowArea_->layout()->activate();
        scrollArea_->verticalScrollBar()->setValue(shown->geometry().center().y() -
                                                   scrollArea_->viewport()->height() / 2);
    }
}

bool EndpointColumn::scrollBy(int pixels) {
    QScrollBar& bar = *scrollArea_->verticalScrollBar();
    const int before = bar.value();
    bar.setValue(before + pixels);
    return bar.value() != before;
}

const MIDIEndpointModel* EndpointColumn::selectedEndpoint() const {
    const auto chosen = std::ranges::find(endpoints_, selection_, &MIDIEndpointModel::id);
    return chosen == endpoints_.end() ? nullptr : &*chosen;
}

void EndpointColumn::updateSelection() {
    const EndpointRow* stop = rows_.empty() ? nullptr : rows_.front();
    for (EndpointRow* const row : rows_) {
        row->setSelected(row->endpoint().id == selection_);
        if (row->isSelected()) {
            stop = row;
        }
    }
    const auto focused = std::ranges::find_if(rows_, [](const EndpointRow* row) { return row->hasFocus(); });
    setTabStop(focused == rows_.end() ? stop : *focused);
    details_->setEndpoint(selectedEndpoint());
}

void EndpointColumn::setTabStop(const EndpointRow* stop) {
    for (EndpointRow* const row : rows_) {
        row->setFocusPolicy(row == stop ? Qt::StrongFocus : Qt::ClickFocus);
    }
}

bool EndpointColumn::moveFocus(const EndpointRow* from, int key) {
    const std::ptrdiff_t place = std::ranges::find(rows_, from) - rows_.begin();
    const std::ptrdiff_t last = std::ssize(rows_) - 1;
    std::ptrdiff_t target = 0;
    switch (key) {
        case Qt::Key_Up:
            target = std::max<std::ptrdiff_t>(place - 1, 0);
            break;
        case Qt::Key_Down:
            target = std::min(place + 1, last);
            break;
        case Qt::Key_Home:
            break;
        case Qt::Key_End:
            target = last;
            break;
        default:
            return false;
    }
    rows_[static_cast<std::size_t>(target)]->setFocus(target >= place ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

void EndpointColumn::reportConnectorPositions(EndpointConnectorYPositions& positions) const {
    if (rows_.size() < endpoints_.size()) {
        const double belowAll = rowsRect().bottom() + 2.0;
        for (const MIDIEndpointModel& endpoint : endpoints_) {
            positions[{direction_, endpoint.id}] = belowAll;
        }
    }
    for (const EndpointRow* const row : rows_) {
        const QPointF middle(0, row->height() / 2.0);
        positions[{direction_, row->endpoint().id}] = row->mapTo(window(), middle).y();
    }
}

bool EndpointColumn::eventFilter(QObject* watched, QEvent* event) {
    auto* const row = qobject_cast<EndpointRow*>(watched);
    if (row == nullptr) {
        if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Resize) {
            QMetaObject::invokeMethod(this, &EndpointColumn::connectorPositionsChanged, Qt::QueuedConnection);
        }
        return false;
    }
    if (event->type() == QEvent::FocusIn) {
        setTabStop(row);
        // If a row moved under the pointer, the click would miss it.
        if (static_cast<QFocusEvent*>(event)->reason() != Qt::MouseFocusReason) {
            scrollArea_->ensureWidgetVisible(row, 0, kRowGap);
        }
    }
    if (event->type() == QEvent::KeyPress) {
        return handleKey(row, *static_cast<QKeyEvent*>(event));
    }
    return false;
}

bool EndpointColumn::handleKey(const EndpointRow* row, const QKeyEvent& event) {
    const int key = event.key();
    const bool isPlain = (event.modifiers() & ~Qt::KeyboardModifiers(Qt::KeypadModifier)) == Qt::NoModifier;
    if (isPlain && moveFocus(row, key)) {
        return true;
    }
    if (key == Qt::Key_F2) {
        emit renamingRequested(row->endpoint().id);
        return true;
    }
    if (key == Qt::Key_Escape && filter_->isActive()) {
        filter_->clear();
        return true;
    }
    const bool isText = (event.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == Qt::NoModifier &&
                        !event.text().isEmpty() && event.text().at(0).isPrint() && !event.text().at(0).isSpace();
    if (isText) {
        filter_->type(event.text());
    }
    return isText;
}

void EndpointColumn::focusRows() {
    const auto stop =
        std::ranges::find_if(rows_, [](const EndpointRow* row) { return row->focusPolicy() == Qt::StrongFocus; });
    if (stop != rows_.end()) {
        (*stop)->setFocus(Qt::TabFocusReason);
    }
}

void EndpointColumn::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    emit connectorPositionsChanged();
}

void EndpointColumn::paintEvent(QPaintEvent*) {
    const int stageSide = direction_ == MIDIEndpointDirection::source ? width() - kHairline : 0;
    QPainter(this).fillRect(stageSide, 0, kHairline, height(), look_.theme().hairline);
}

}  // namespace corvel::ui
