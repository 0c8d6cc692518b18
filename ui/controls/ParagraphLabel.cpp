#include "ui/controls/ParagraphLabel.hpp"

#include "ui/controls/WrappedText.hpp"

#include <QPainter>

namespace corvel::ui {

namespace {

/// Longer names are shortened in the middle.
constexpr std::size_t kMaxLines = 6;

}  // namespace

ParagraphLabel::ParagraphLabel(const Look& look, const QString& text, const QFont& font, QColor Theme::*ink, int width,
                               int lineHeight, QWidget* parent)
    : QLabel(text, parent),
      look_(look),
      ink_(ink),
      lineHeight_(lineHeight),
      lines_(wrappedLines(text, font, width, kMaxLines)) {
    setTextFormat(Qt::PlainText);
    setFont(font);
    setFixedSize(width, static_cast<int>(lines_.size()) * lineHeight);
    connect(&look, &Look::changed, this, [this] { update(); });
}

void ParagraphLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(look_.theme().*ink_);
    painter.setFont(font());
    QRect line(0, 0, width(), lineHeight_);
    for (const QString& text : lines_) {
        painter.drawText(line, Qt::AlignCenter | Qt::TextSingleLine, text.trimmed());
        line.translate(0, lineHeight_);
    }
}

}  // namespace corvel::ui
