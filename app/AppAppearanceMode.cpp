#include "app/AppAppearanceMode.hpp"

#include <algorithm>

namespace corvel {

std::string_view rawValue(AppAppearanceMode mode) {
    switch (mode) {
        case AppAppearanceMode::light:
            return "light";
        case AppAppearanceMode::dark:
            return "dark";
    }
    return {};
}

std::optional<AppAppearanceMode> appAppearanceModeFromRawValue(std::string_view text) {
    const auto* const found =
        std::ranges::find_if(kAllAppAppearanceModes, [&](AppAppearanceMode mode) { return rawValue(mode) == text; });
    return found == kAllAppAppearanceModes.end() ? std::nullopt : std::optional(*found);
}

}  // namespace corvel
