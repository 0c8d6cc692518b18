#include "ui/RouterWindow/HiddenEndsButton.hpp"

#include "ui/QtText.hpp"
#include "ui/controls/Painting.hpp"

#include <QFontMetricsF>
#include <QPainter>

#include <cmath>
#include <utility>

namespace corvel::ui {

namespace {

constexpr int kIconSize = 16;
constexpr int kPadding = 5;
constexpr int kTextPadding = 9;

QFont countFont() {
    return Look::font(12, QFont::Medium);
}

}  // namespace

HiddenEndsButton::HiddenEndsButton(const Look& look, bool isAbove, QString plural, QWidget* parent)
    : LookButton(look, parent), isAbove_(isAbove), plural_(std::move(plural)) {
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
    hide();
}

void HiddenEndsButton::setCount(std::size_t count) {
    const QString number = QString::number(count);
    if (number == text()) {
        return;
    }
    setPlainText(number);
    const QString name =
        QStringLiteral("%1 %2 to %3 %4")
            .arg(number, count == 1 ? QStringLiteral("connection goes") : QStringLiteral("connections go"), plural_,
                 isAbove_ ? QStringLiteral("above") : QStringLiteral("below"));
    setAccessibleName(name);
    setPlainToolTip(this, name);
    const auto width = static_cast<int>(std::ceil(QFontMetricsF(countFont()).horizontalAdvance(number)));
    resize(kPadding + kIconSize + width + kTextPadding, kHeight);
    update();
}

void HiddenEndsButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    constexpr qreal kRadius = kHeight / 2.0;
    painter.fillPath(roundedPath(rect(), kRadius),
                     stateFill(theme().raised, theme().raisedHover, theme().raisedPressed));
    paintOutline(painter, rect(), kRadius, theme().edge);
    const QString icon = isAbove_ ? QStringLiteral("chevron.up") : QStringLiteral("chevron.down");
    painter.drawPixmap(QPointF(kPadding, (kHeight - kIconSize) / 2.0),
                       look().icon(icon, kIconSize, theme().text, devicePixelRatioF()));
    painter.setFont(countFont());
    painter.setPen(theme().text);
    painter.drawText(rect().adjusted(kPadding + kIconSize, 0, 0, 0),
                     Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, text());
}

}  // namespace corvel::ui
