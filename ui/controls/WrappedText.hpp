#pragma once

#include <QFont>
#include <QString>

#include <vector>

namespace corvel::ui {

/// The text as the lines in which it is drawn: broken at its line breaks and where it is wider than `width` logical
/// pixels, between words if possible. Leading blanks stay. At most `mostLinesOfOne` lines come of one line of the text;
/// the last of them then has its middle left out.
[[nodiscard]] std::vector<QString> wrappedLines(const QString& text, const QFont& font, qreal width,
                                                std::size_t mostLinesOfOne);

}  // namespace corvel::ui
