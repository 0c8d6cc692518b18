#pragma once

#include <QFont>
#include <QString>

#include <vector>

namespace corvel::ui {

/// The lines in which the text is drawn. Breaks at line breaks, and where the text is wider than `width` logical
/// pixels, between words if possible. Leading blanks stay. One line of the text becomes at most `maxLinesPerParagraph`
/// lines; the last of them is then shortened in the middle.
[[nodiscard]] std::vector<QString> wrappedLines(const QString& text, const QFont& font, qreal width,
                                                std::size_t maxLinesPerParagraph);

}  // namespace corvel::ui
