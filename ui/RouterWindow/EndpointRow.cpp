#include "ui/RouterWindow/EndpointRow.hpp"

#include "app/TextLine.hpp"
#include "ui/QtText.hpp"
#include "ui/RouterWindow/EndpointDragPayload.hpp"
#include "ui/controls/Painting.hpp"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDrag>
#include <QDragEnterEvent>
#include <QEasingCurve>
#include <QFontMetricsF>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>

#include <cmath>
#include <utility>

namespace corvel::ui {

namespace {

constexpr qreal kRadius = 8;
constexpr int kPadding = 12;
constexpr int kIconSize = 20;
constexpr int kDotSize = 8;
constexpr int kDotMargin = 14;
constexpr qreal kHollowDotWidth = 1.75;
constexpr qreal kConnectionMarkWidth = 5;
/// The light of a message surrounds the status dot.
constexpr qreal kLightRadius = 9;
constexpr qreal kLightCore = 4.5;
constexpr double kHaloAlpha = 0.45;
constexpr int kLightSteps = 8;
constexpr int kSelectionDuration = 120;
constexpr QSize kDragPictureSize(220, EndpointRow::kHeight);
constexpr qreal kDragPictureOpacity = 0.92;

QFont nameFont(bool isSelected) {
    return Look::font(15, isSelected ? QFont::DemiBold : QFont::Medium);
}

}  // namespace

EndpointRow::EndpointRow(const Look& look, MIDIEndpointModel endpoint, QWidget* parent)
    : LookButton(look, parent), endpoint_(std::move(endpoint)) {
    setFixedHeight(kHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAcceptDrops(true);
    selection_.setEasingCurve(QEasingCurve::OutCubic);
    selection_.setStartValue(0.0);
    selection_.setEndValue(0.0);
    connect(&selection_, &QVariantAnimation::valueChanged, this, [this] { update(); });
    describe();
}

void EndpointRow::setEndpoint(const MIDIEndpointModel& endpoint) {
    if (endpoint != endpoint_) {
        endpoint_ = endpoint;
        describe();
        update();
    }
}

void EndpointRow::setAlias(const QString& alias) {
    if (alias != alias_) {
        alias_ = alias;
        describe();
        update();
    }
}

void EndpointRow::setLight(double level) {
    const auto step = static_cast<int>(std::lround(level * kLightSteps));
    if (step != std::exchange(lightLevel_, step)) {
        constexpr int kReach = static_cast<int>(kLightRadius) + 1 - kDotSize / 2;
        update(statusDot(rect()).toAlignedRect().adjusted(-kReach, -kReach, kReach, kReach));
    }
}

void EndpointRow::setSelected(bool isSelected) {
    if (isSelected == isSelected_) {
        return;
    }
    isSelected_ = isSelected;
    selection_.stop();
    selection_.setStartValue(selection_.currentValue());
    selection_.setEndValue(isSelected ? 1.0 : 0.0);
    selection_.setDuration(animationDuration(*this, kSelectionDuration));
    selection_.start();
    announceState(AccessibleState::selected);
}

void EndpointRow::addAccessibleState(QAccessible::State& state) const {
    state.selectable = 1U;
    state.selected = isSelected_ ? 1U : 0U;
}

void EndpointRow::setConnectionMark(const std::optional<QColor>& colour) {
    if (colour != connectionMark_) {
        connectionMark_ = colour;
        update();
    }
}

void EndpointRow::describe() {
    const QString name = toQString(shownName(endpoint_.displayName));
    setPlainText(alias_.isEmpty() ? name : alias_);
    setPlainToolTip(this, alias_.isEmpty() ? name : alias_ + QLatin1Char('\n') + name);
    setAccessibleDescription((isInput() ? QStringLiteral("Input") : QStringLiteral("Output")) +
                             (endpoint_.isOnline ? QStringLiteral(", online") : QStringLiteral(", offline")));
}

QSize EndpointRow::sizeHint() const {
    return kDragPictureSize;
}

void EndpointRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QColor rest = mixed(theme().raised, theme().selected, selection_.currentValue().toReal());
    const QColor fill = isDropTarget_ ? theme().drop
                        : isSelected_ ? rest
                                      : stateFill(rest, theme().raisedHover, theme().raisedPressed);
    paint(painter, rect(),
          {.fill = fill, .isSelected = isSelected_, .isDropTarget = isDropTarget_, .showsFocus = showsFocus()});
    paintConnectionMark(painter, rect());
}

void EndpointRow::paintConnectionMark(QPainter& painter, const QRectF& whole) const {
    if (connectionMark_) {
        const qreal left = isInput() ? whole.right() - kConnectionMarkWidth : whole.left();
        painter.fillRect(QRectF(left, whole.top(), kConnectionMarkWidth, whole.height()), *connectionMark_);
    }
}

void EndpointRow::paint(QPainter& painter, const QRectF& whole, const State& state) const {
    painter.setRenderHint(QPainter::Antialiasing);
    const Corners corners = isInput() ? Corners::left : Corners::right;
    const qreal inset = state.showsFocus ? kFocusInset : 0;
    painter.fillPath(roundedPath(whole.adjusted(inset, inset, -inset, -inset), kRadius - inset, corners), state.fill);
    if (state.isDropTarget || state.showsFocus) {
        paintRing(painter, whole, kRadius, theme().accent, corners);
    } else if (look().mode() == AppAppearanceMode::light) {
        paintOutline(painter, whole, kRadius, state.isSelected ? theme().selectedEdge : theme().hairline, corners);
    }
    paintContent(painter, whole, state);
}

void EndpointRow::paintContent(QPainter& painter, const QRectF& whole, const State& state) const {
    const QString icon = state.isDropTarget ? QStringLiteral("link")
                         : isInput()        ? QStringLiteral("keyboard")
                                            : QStringLiteral("speaker.wave.2");
    const QColor iconInk = state.isSelected || state.isDropTarget ? theme().accent : theme().text2;
    painter.drawPixmap(QPointF(kPadding, (whole.height() - kIconSize) / 2),
                       look().icon(icon, kIconSize, iconInk, devicePixelRatioF()));

    constexpr int kNameLeft = kPadding + kIconSize + kPadding;
    const qreal nameWidth = whole.width() - kNameLeft - kPadding - kDotSize - kDotMargin;
    const QFont font = nameFont(state.isSelected);
    painter.setFont(font);
    painter.setPen(endpoint_.isOnline || state.isSelected ? theme().text : theme().text2);
    painter.drawText(QRectF(kNameLeft, 0, nameWidth, whole.height()),
                     Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                     QFontMetricsF(font).elidedText(text(), Qt::ElideMiddle, nameWidth));
    paintStatusDot(painter, whole);
}

QRectF EndpointRow::statusDot(const QRectF& whole) {
    return {whole.width() - kDotMargin - kDotSize, (whole.height() - kDotSize) / 2, kDotSize, kDotSize};
}

void EndpointRow::paintLight(QPainter& painter, const QPointF& middle) const {
    const double level = static_cast<double>(lightLevel_) / kLightSteps;
    QColor halo = theme().online;
    halo.setAlphaF(static_cast<float>(kHaloAlpha * level));
    painter.setPen(Qt::NoPen);
    painter.setBrush(halo);
    painter.drawEllipse(middle, kLightRadius, kLightRadius);
    // Mixed with the text's colour, the light becomes brighter on a dark background, but black on a light one.
    const bool isDark = look().mode() == AppAppearanceMode::dark;
    painter.setBrush(isDark ? mixed(theme().online, theme().text, level) : theme().online);
    painter.drawEllipse(middle, kLightCore, kLightCore);
}

void EndpointRow::paintStatusDot(QPainter& painter, const QRectF& whole) const {
    const QRectF dot = statusDot(whole);
    if (lightLevel_ > 0) {
        paintLight(painter, dot.center());
        return;
    }
    if (endpoint_.isOnline) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(theme().online);
        painter.drawEllipse(dot);
        return;
    }
    constexpr qreal kInset = kHollowDotWidth / 2;
    painter.setPen(QPen(theme().offline, kHollowDotWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(dot.adjusted(kInset, kInset, -kInset, -kInset));
}

QPixmap EndpointRow::dragPicture() const {
    QPixmap picture(kDragPictureSize * devicePixelRatioF());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setOpacity(kDragPictureOpacity);
    paint(painter, QRectF(QPointF(), kDragPictureSize), {.fill = theme().selected, .isSelected = true});
    return picture;
}

void EndpointRow::drag() {
    // Its parent is the window: the drag exists until its data has been fetched, and this row may be deleted before.
    auto* const drag = new QDrag(window());
    auto* const payload = new QMimeData;
    payload->setText(toQString(EndpointDragPayload::text(endpoint_.direction, endpoint_.id)));
    drag->setMimeData(payload);
    // The window draws the card itself, outside the column where it can be dropped. Without a picture the toolkit would
    // draw the text.
    QPixmap nothing(1, 1);
    nothing.fill(Qt::transparent);
    drag->setPixmap(nothing);
    drag->setHotSpot(QPoint());
    emit dragStarted(drag);
    const QPointer<EndpointRow> stillThere(this);
    drag->exec(Qt::CopyAction);
    if (stillThere) {
        setDown(false);
    }
}

void EndpointRow::mousePressEvent(QMouseEvent* event) {
    pressedAt_ = event->position().toPoint();
    LookButton::mousePressEvent(event);
}

void EndpointRow::mouseDoubleClickEvent(QMouseEvent* event) {
    // Selecting a row twice changes nothing, and the second press may start a drag.
    mousePressEvent(event);
}

void EndpointRow::mouseMoveEvent(QMouseEvent* event) {
    const QPoint moved = event->position().toPoint() - pressedAt_;
    if (isDown() && moved.manhattanLength() >= QApplication::startDragDistance()) {
        drag();
        return;
    }
    LookButton::mouseMoveEvent(event);
}

void EndpointRow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasText()) {
        event->acceptProposedAction();
        setDropTarget(droppableEndpoint(*event).has_value());
    }
}

void EndpointRow::dragMoveEvent(QDragMoveEvent* event) {
    // If a row was scrolled under the pointer, the drag was last refused, so it must be accepted here again.
    if (event->mimeData()->hasText()) {
        event->acceptProposedAction();
    }
}

void EndpointRow::dragLeaveEvent(QDragLeaveEvent*) {
    setDropTarget(false);
}

void EndpointRow::dropEvent(QDropEvent* event) {
    setDropTarget(false);
    const std::optional<std::int32_t> endpointID = droppableEndpoint(*event);
    event->acceptProposedAction();
    if (endpointID) {
        QMetaObject::invokeMethod(
            this, [this, id = *endpointID] { emit endpointDropped(id); }, Qt::QueuedConnection);
    }
}

std::optional<std::int32_t> EndpointRow::droppableEndpoint(const QDropEvent& event) const {
    const auto other = isInput() ? MIDIEndpointDirection::destination : MIDIEndpointDirection::source;
    return EndpointDragPayload::endpointID(other, toUTF8(event.mimeData()->text()));
}

void EndpointRow::contextMenuEvent(QContextMenuEvent* event) {
    emit menuRequested(event->globalPos());
}

void EndpointRow::setDropTarget(bool isDropTarget) {
    isDropTarget_ = isDropTarget;
    update();
}

}  // namespace corvel::ui
