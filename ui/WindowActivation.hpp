#pragma once

#include <QWidget>

#include <cstdint>
#include <optional>
#include <string_view>

namespace corvel::ui {

/// Gives a shown window the keyboard focus. A desktop may refuse this to a program that the user is not working with,
/// unless `token` is the one that it gave to the start that asks for it. `token` may be empty.
void activateWindow(QWidget& window, std::string_view token);

/// The X server's time of the user's action in milliseconds, from the end of a startup notification's token
/// ("..._TIME4711"); no value without one.
[[nodiscard]] std::optional<std::uint32_t> userTime(std::string_view token);

}  // namespace corvel::ui
