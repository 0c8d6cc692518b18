#include "ui/controls/LinkButton.hpp"

#include "ui/controls/Painting.hpp"

#include <QFontMetrics>
#include <QPainter>

namespace corvel::ui {

namespace {

constexpr int kHeight = 22;
constexpr int kPadding = 6;
constexpr qreal kRadius = 6;

QFont linkFont() {
    return Look::font(13, QFont::DemiBold);
}

}  // namespace

LinkButton::LinkButton(const Look& look, const QString& text, QWidget* parent) : LookButton(look, parent) {
    setText(text);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize LinkButton::sizeHint() const {
    return {QFontMetrics(linkFont()).horizontalAdvance(text()) + 2 * kPadding, kHeight};
}

void LinkButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont font = linkFont();
    font.setUnderline(hoverLevel() > 0);
    painter.setFont(font);
    painter.setPen(theme().accent);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text());
    if (showsFocus()) {
        paintRing(painter, rect(), kRadius, theme().accent);
    }
}

}  // namespace corvel::ui
