#pragma once

#include <QWidget>

#include <cstdint>
#include <optional>
#include <string_view>

namespace corvel::ui {

/// Gives a shown window the keyboard. A desktop may refuse that to a program that the user is not working with, unless
/// the token comes with it that the desktop gave to the start that asks for it; it may be empty.
void activateWindow(QWidget& window, std::string_view token);

/// The X server's time of the user's action, in milliseconds, that a token of the startup notification ends with
/// ("..._TIME4711"); none without one.
[[nodiscard]] std::optional<std::uint32_t> userTime(std::string_view token);

}  // namespace corvel::ui
