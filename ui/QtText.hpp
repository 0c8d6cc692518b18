#pragma once

#include <QString>

#include <string>
#include <string_view>

class QWidget;

/// Between the model's texts, which are UTF-8, and the toolkit's. Names of devices are not markup: every text that came
/// from outside goes through here.
namespace corvel::ui {

[[nodiscard]] QString toQString(std::string_view text);
[[nodiscard]] std::string toUTF8(const QString& text);

/// The text as a menu item's title: an ampersand is shown, not taken for a key, and a tab is a blank: what follows
/// one is taken for a shortcut.
[[nodiscard]] QString menuTitle(const QString& text);

/// The text as a tooltip that shows every character as it is, broken into lines where it is wide.
[[nodiscard]] QString plainToolTip(const QString& text);

/// Gives the widget a tooltip that shows every character as it is, broken into lines where it is wide.
void setPlainToolTip(QWidget* widget, const QString& text);

}  // namespace corvel::ui
