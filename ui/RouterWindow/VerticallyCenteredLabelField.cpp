#include "ui/RouterWindow/VerticallyCenteredLabelField.hpp"

#include "ui/controls/Painting.hpp"

#include <QFontMetricsF>
#include <QPainter>

namespace corvel::ui {

namespace {

constexpr qreal kRadius = 6;

}  // namespace

VerticallyCenteredLabelField::VerticallyCenteredLabelField(const QString& text, const Look& look, QWidget* parent)
    : QLabel(text, parent), look_(look) {
    setTextFormat(Qt::PlainText);
    setFont(Look::font(17));
    connect(&look, &Look::changed, this, [this] { update(); });
}

QRectF VerticallyCenteredLabelField::drawingRect(const QRectF& bounds, qreal textHeight) {
    return {bounds.x(), bounds.y() + (bounds.height() - textHeight) / 2, bounds.width(), textHeight};
}

void VerticallyCenteredLabelField::setQuiet(bool isQuiet) {
    isQuiet_ = isQuiet;
    update();
}

void VerticallyCenteredLabelField::setOutlined(bool isOutlined) {
    isOutlined_ = isOutlined;
    update();
}

void VerticallyCenteredLabelField::setTextMargin(int margin) {
    textMargin_ = margin;
    update();
}

void VerticallyCenteredLabelField::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Theme& theme = look_.theme();
    painter.fillPath(roundedPath(rect(), kRadius), theme.field);
    if (isOutlined_) {
        paintOutline(painter, rect(), kRadius, theme.edge);
    }
    const QFontMetricsF metrics(font());
    const QRectF room = QRectF(rect()).adjusted(textMargin_, 0, -textMargin_, 0);
    painter.setPen(isQuiet_ ? theme.text2 : theme.text);
    painter.setFont(font());
    painter.drawText(drawingRect(room, metrics.height()), Qt::AlignHCenter | Qt::AlignTop | Qt::TextSingleLine,
                     metrics.elidedText(text(), Qt::ElideMiddle, room.width()));
}

}  // namespace corvel::ui
