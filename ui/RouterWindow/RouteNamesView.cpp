#include "ui/RouterWindow/RouteNamesView.hpp"

#include <QFontMetricsF>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace corvel::ui {

namespace {

constexpr int kNameLineHeight = 19;
constexpr int kStatusLineHeight = 17;
constexpr qreal kArrowGap = 8;
constexpr int kWarningSize = 14;
constexpr int kWarningGap = 5;
/// The input's share of the space for both names.
constexpr qreal kInputShare = 0.55;
constexpr int kTextFlags = Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine;

}  // namespace

RouteNamesView::RouteNamesView(const Look& look, QWidget* parent) : QWidget(parent), look_(look) {}

void RouteNamesView::setNames(const QString& input, const QString& output) {
    if (input == input_ && output == output_) {
        return;
    }
    input_ = input;
    output_ = output;
    update();
}

void RouteNamesView::setStatus(const QString& status) {
    if (status == status_) {
        return;
    }
    status_ = status;
    update(statusLine());
}

void RouteNamesView::setWarning(bool isWarning) {
    if (isWarning != isWarning_) {
        isWarning_ = isWarning;
        update(statusLine());
    }
}

void RouteNamesView::setEmphasis(bool isSelected, bool isQuiet) {
    if (isSelected == isSelected_ && isQuiet == isQuiet_) {
        return;
    }
    isSelected_ = isSelected;
    isQuiet_ = isQuiet;
    update();
}

QRect RouteNamesView::nameLine() const {
    return {0, (height() - kNameLineHeight - kStatusLineHeight) / 2, width(), kNameLineHeight};
}

QRect RouteNamesView::statusLine() const {
    return {0, nameLine().bottom() + 1, width(), kStatusLineHeight};
}

void RouteNamesView::paintNames(QPainter& painter) const {
    const Theme& theme = look_.theme();
    const QFont font = Look::font(15, isSelected_ ? QFont::DemiBold : QFont::Medium);
    const QFontMetricsF metrics(font);
    const QString arrow = QStringLiteral("→");
    QRectF room = nameLine();
    painter.setFont(font);

    const auto draw = [&](const QString& text, qreal width, const QColor& ink) {
        const QString shown = metrics.elidedText(text, Qt::ElideMiddle, width);
        painter.setPen(ink);
        painter.drawText(room, kTextFlags, shown);
        room.setLeft(room.left() + metrics.horizontalAdvance(shown));
    };
    const QColor ink = isQuiet_ ? theme.text2 : theme.text;
    const qreal roomForNames = room.width() - metrics.horizontalAdvance(arrow) - 2 * kArrowGap;
    draw(input_, std::floor(roomForNames * kInputShare), ink);
    room.setLeft(room.left() + kArrowGap);
    draw(arrow, room.width(), isSelected_ ? theme.text2 : theme.text3);
    room.setLeft(room.left() + kArrowGap);
    draw(output_, std::max(0.0, room.width()), ink);
}

void RouteNamesView::paintStatus(QPainter& painter) const {
    const Theme& theme = look_.theme();
    QRect room = statusLine();
    if (isWarning_) {
        painter.drawPixmap(
            room.topLeft() + QPoint(0, (room.height() - kWarningSize) / 2),
            look_.icon(QStringLiteral("exclamationmark.triangle"), kWarningSize, theme.warning, devicePixelRatioF()));
        room.setLeft(room.left() + kWarningSize + kWarningGap);
    }
    const QFont font = Look::font(13);
    painter.setFont(font);
    painter.setPen(isWarning_ ? theme.warning : theme.text2);
    painter.drawText(room, kTextFlags, QFontMetricsF(font).elidedText(status_, Qt::ElideRight, room.width()));
}

void RouteNamesView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    if (event->rect().intersects(nameLine())) {
        paintNames(painter);
    }
    if (event->rect().intersects(statusLine())) {
        paintStatus(painter);
    }
}

}  // namespace corvel::ui
