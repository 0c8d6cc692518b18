#include "ui/controls/WrappedText.hpp"

#include <QFontMetricsF>
#include <QTextLayout>

namespace corvel::ui {

namespace {

void appendWrapped(std::vector<QString>& lines, const QString& text, const QFont& font, qreal width,
                   std::size_t maxLines) {
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    std::size_t count = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        if (++count == maxLines) {
            lines.push_back(QFontMetricsF(font).elidedText(text.mid(line.textStart()), Qt::ElideMiddle, width));
            break;
        }
        lines.push_back(text.mid(line.textStart(), line.textLength()));
    }
    layout.endLayout();
    if (count == 0) {
        lines.emplace_back();
    }
}

}  // namespace

std::vector<QString> wrappedLines(const QString& text, const QFont& font, qreal width,
                                  std::size_t maxLinesPerParagraph) {
    std::vector<QString> lines;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        appendWrapped(lines, line, font, width, maxLinesPerParagraph);
    }
    return lines;
}

}  // namespace corvel::ui
