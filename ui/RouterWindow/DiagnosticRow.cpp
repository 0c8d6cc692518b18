#include "ui/RouterWindow/DiagnosticRow.hpp"

#include "app/TextLine.hpp"
#include "ui/QtText.hpp"
#include "ui/controls/WrappedText.hpp"

#include <QFontMetrics>
#include <QPainter>

#include <limits>

namespace corvel::ui {

namespace {

constexpr int kLineHeight = 18;
constexpr int kVerticalPadding = 6;
constexpr int kHorizontalPadding = 12;
constexpr int kGap = 16;

QFont rowFont() {
    return Look::monospacedFont(12);
}

}  // namespace

DiagnosticRow::DiagnosticRow(const Look& look, const MIDIDiagnosticEvent& event, QWidget* parent)
    : QWidget(parent), look_(look), time_(toQString(timeOfDay(event.timestamp))), message_(toQString(event.message)) {
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setAccessibleName(time_ + QLatin1Char(' ') + message_);
    connect(&look, &Look::changed, this, [this] { update(); });
}

int DiagnosticRow::messageLeft() const {
    return kHorizontalPadding + QFontMetrics(rowFont()).horizontalAdvance(time_) + kGap;
}

std::vector<QString> DiagnosticRow::lines(int width) const {
    return wrappedLines(message_, rowFont(), width - messageLeft() - kHorizontalPadding,
                        std::numeric_limits<std::size_t>::max());
}

QSize DiagnosticRow::sizeHint() const {
    return {width(), heightForWidth(width())};
}

int DiagnosticRow::heightForWidth(int width) const {
    return 2 * kVerticalPadding + kLineHeight * static_cast<int>(lines(width).size());
}

void DiagnosticRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (y() > 0) {
        painter.fillRect(0, 0, width(), 1, look_.theme().hairline);
    }
    painter.setFont(rowFont());
    QRect place(kHorizontalPadding, kVerticalPadding, width(), kLineHeight);
    constexpr int kAlignment = Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine;
    painter.setPen(look_.theme().text2);
    painter.drawText(place, kAlignment, time_);
    place.setLeft(messageLeft());
    painter.setPen(look_.theme().text);
    for (const QString& line : lines(width())) {
        painter.drawText(place, kAlignment, line);
        place.translate(0, kLineHeight);
    }
}

}  // namespace corvel::ui
