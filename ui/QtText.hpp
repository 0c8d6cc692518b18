#pragma once

#include <QString>

#include <string>
#include <string_view>

class QWidget;

/// Conversion between the model's texts, which are UTF-8, and the toolkit's. Names of devices are not markup: every
/// text from outside must be converted here.
namespace corvel::ui {

[[nodiscard]] QString toQString(std::string_view text);
[[nodiscard]] std::string toUTF8(const QString& text);

/// The text as a menu item's title: an ampersand is shown, and a tab becomes a blank. The toolkit would take them for a
/// key and a shortcut.
[[nodiscard]] QString menuTitle(const QString& text);

/// The text as a tooltip that shows every character unchanged and wraps long lines.
[[nodiscard]] QString plainToolTip(const QString& text);

/// Gives the widget a tooltip that shows every character unchanged and wraps long lines.
void setPlainToolTip(QWidget* widget, const QString& text);

}  // namespace corvel::ui
