#include "ui/RouterWindow/EndpointColumn.hpp"

#include "ui/RouterWindow/EndpointRow.hpp"
#include "ui/RouterWindow/EndpointSelectionDetails.hpp"
#include "ui/controls/LookLabel.hpp"
#include "ui/controls/LookScrollArea.hpp"

#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kHeadingHeight = 40;
constexpr int kHeadingPadding = 16;
constexpr int kRowGap = 8;
constexpr int kOuterMargin = 12;
constexpr int kHairline = 1;
constexpr int kScrollBarMargin = 4;

}  // namespace

EndpointColumn::EndpointColumn(const Look& look, const QString& title, MIDIEndpointDirection direction, QWidget* parent)
    : QWidget(parent),
      look_(look),
      direction_(direction),
      rowArea_(new QWidget),
      rowLayout_(new QVBoxLayout(rowArea_)),
      scrollArea_(new LookScrollArea(look, this)),
      details_(new EndpointSelectionDetails(look, this)) {
    setFixedWidth(kWidth);
    setAccessibleName(title);
    const bool isInput = direction == MIDIEndpointDirection::source;

    auto* const heading = new LookLabel(look, Look::font(13, QFont::DemiBold), &Theme::text2, this);
    heading->setText(title);
    heading->setFixedHeight(kHeadingHeight);
    heading->setContentsMargins(kHeadingPadding, 0, kHeadingPadding, 0);

    rowLayout_->setContentsMargins(isInput ? kOuterMargin : 0, 0, isInput ? 0 : kOuterMargin, kRowGap);
    rowLayout_->setSpacing(kRowGap);
    rowLayout_->addStretch();
    scrollArea_->setWidget(rowArea_);
    scrollArea_->setWidgetResizable(true);
    scrollArea_->setScrollBarSide(isInput ? Qt::LeftEdge : Qt::RightEdge, kScrollBarMargin);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(isInput ? 0 : kHairline, 0, isInput ? kHairline : 0, 0);
    layout->setSpacing(0);
    layout->addWidget(heading);
    layout->addWidget(scrollArea_, 1);
    layout->addWidget(details_);

    rowArea_->installEventFilter(this);
    connect(scrollArea_->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &EndpointColumn::connectorPositionsChanged);
    connect(&look, &Look::changed, this, [this] { update(); });
}

EndpointRow* EndpointColumn::makeRow(const MIDIEndpointModel& endpoint) {
    auto* const row = new EndpointRow(look_, endpoint, rowArea_);
    row->installEventFilter(this);
    row->show();
    connect(row, &QAbstractButton::clicked, this, [this, row] { emit endpointSelected(row->endpoint().id); });
    connect(row, &EndpointRow::dragStarted, this, [this, row] { emit endpointSelected(row->endpoint().id); });
    connect(row, &EndpointRow::sourceDropped, this,
            [this, row](std::int32_t sourceID) { emit sourceDropped(sourceID, row->endpoint().id); });
    return row;
}

void EndpointColumn::setEndpoints(const std::vector<MIDIEndpointModel>& endpoints) {
    std::unordered_multimap<std::int32_t, EndpointRow*> former;
    for (EndpointRow* const row : std::exchange(rows_, {})) {
        former.emplace(row->endpoint().id, row);
    }
    for (const MIDIEndpointModel& endpoint : endpoints) {
        const auto kept = former.extract(endpoint.id);
        EndpointRow* const row = kept ? kept.mapped() : makeRow(endpoint);
        row->setEndpoint(endpoint);
        rows_.push_back(row);
    }
    for (const auto& [id, row] : former) {
        row->hide();
        // A row may be in the middle of its own drag.
        row->deleteLater();
    }
    arrangeRows();
    updateSelection();
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
    for (std::size_t index = 1; index < rows_.size(); ++index) {
        setTabOrder(rows_[index - 1], rows_[index]);
    }
}

void EndpointColumn::setSelection(const std::optional<std::int32_t>& selection) {
    const bool isNew = selection != selection_;
    selection_ = selection;
    updateSelection();
    if (!isNew) {
        return;
    }
    const auto chosen = std::ranges::find_if(rows_, &EndpointRow::isSelected);
    if (chosen != rows_.end()) {
        rowArea_->layout()->activate();
        scrollArea_->ensureWidgetVisible(*chosen, 0, kRowGap);
    }
}

const MIDIEndpointModel* EndpointColumn::selectedEndpoint() const {
    const auto chosen = std::ranges::find_if(rows_, &EndpointRow::isSelected);
    return chosen == rows_.end() ? nullptr : &(*chosen)->endpoint();
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

void EndpointColumn::moveFocus(const EndpointRow* from, int step) {
    const auto place = std::ranges::find(rows_, from) - rows_.begin() + step;
    if (place >= 0 && place < std::ssize(rows_)) {
        EndpointRow* const row = rows_[static_cast<std::size_t>(place)];
        row->setFocus(step > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
        scrollArea_->ensureWidgetVisible(row, 0, kRowGap);
    }
}

void EndpointColumn::reportConnectorPositions(EndpointConnectorYPositions& positions) const {
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
    }
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Down || key == Qt::Key_Up) {
            moveFocus(row, key == Qt::Key_Down ? 1 : -1);
            return true;
        }
    }
    return false;
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
