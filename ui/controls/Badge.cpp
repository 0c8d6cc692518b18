#include "ui/controls/Badge.hpp"

#include "ui/controls/Painting.hpp"

#include <QPainter>

namespace corvel::ui {

namespace {

constexpr int kHeight = 22;
constexpr int kPadding = 10;

}  // namespace

Badge::Badge(const Look& look, const QString& text, QWidget* parent) : QLabel(text, parent), look_(look) {
    setTextFormat(Qt::PlainText);
    setFont(Look::font(12));
    setFixedSize(fontMetrics().horizontalAdvance(text) + 2 * kPadding, kHeight);
    connect(&look, &Look::changed, this, [this] { update(); });
}

void Badge::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintOutline(painter, rect(), kHeight / 2.0, look_.theme().edge);
    painter.setPen(look_.theme().text2);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text());
}

}  // namespace corvel::ui
