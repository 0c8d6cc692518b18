#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace corvel {

/// The appearance of the program's windows.
enum class AppAppearanceMode : std::uint8_t { light, dark };

/// All modes in their declared order.
inline constexpr std::array kAllAppAppearanceModes{AppAppearanceMode::light, AppAppearanceMode::dark};

/// The mode's name in the settings: "light" or "dark".
[[nodiscard]] std::string_view rawValue(AppAppearanceMode mode);

/// The mode with exactly this raw value; no value for any other text.
[[nodiscard]] std::optional<AppAppearanceMode> appAppearanceModeFromRawValue(std::string_view text);

}  // namespace corvel
