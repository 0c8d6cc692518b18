#include "ui/RouterWindow/EndpointDetailButton.hpp"

#include "ui/QtText.hpp"
#include "ui/controls/Painting.hpp"
#include "ui/controls/WrappedText.hpp"

#include <QPainter>

namespace corvel::ui {

namespace {

constexpr int kLineHeight = 16;
constexpr qreal kRadius = 6;
/// A longer part of a name has no use, and would push the rows out of the column.
constexpr std::size_t kMaxLinesPerParagraph = 4;

QFont lineFont(bool isFirst) {
    return Look::font(13, isFirst ? QFont::Medium : QFont::Normal);
}

}  // namespace

EndpointDetailButton::EndpointDetailButton(const Look& look, QWidget* parent) : LookButton(look, parent) {
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setPlainToolTip(this, QStringLiteral("Copy full endpoint name"));
}

void EndpointDetailButton::setDetailText(const QString& text) {
    if (text != this->text()) {
        setPlainText(text);
        setAccessibleDescription(toolTip());
        updateGeometry();
        update();
    }
}

std::vector<EndpointDetailButton::Line> EndpointDetailButton::lines(int width) const {
    std::vector<Line> lines;
    bool isFirst = true;
    for (const QString& line : text().split(QLatin1Char('\n'))) {
        for (const QString& part : wrappedLines(line, lineFont(isFirst), width - 2 * kPadding, kMaxLinesPerParagraph)) {
            lines.push_back({part, isFirst});
        }
        isFirst = false;
    }
    return lines;
}

QSize EndpointDetailButton::sizeHint() const {
    return {width(), heightForWidth(width())};
}

int EndpointDetailButton::heightForWidth(int width) const {
    return static_cast<int>(lines(width).size()) * kLineHeight;
}

void EndpointDetailButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(roundedPath(rect(), kRadius),
                     stateFill(transparent(theme().raisedHover), theme().raisedHover, theme().raisedPressed));
    if (showsFocus()) {
        paintRing(painter, rect(), kRadius, theme().accent);
    }
    int y = 0;
    for (const Line& line : lines(width())) {
        painter.setFont(lineFont(line.isFirst));
        painter.setPen(line.isFirst ? theme().text : theme().text2);
        painter.drawText(QRect(kPadding, y, width() - 2 * kPadding, kLineHeight),
                         Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, line.text);
        y += kLineHeight;
    }
}

}  // namespace corvel::ui
