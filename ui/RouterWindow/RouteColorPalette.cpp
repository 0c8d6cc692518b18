#include "ui/RouterWindow/RouteColorPalette.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace corvel::ui::RouteColorPalette {

namespace {

struct Components {
    float red = 0;
    float green = 0;
    float blue = 0;
};

constexpr std::array<Components, kColorCount> kColors{{
    {0.15F, 0.48F, 0.92F},
    {0.82F, 0.2F, 0.66F},
    {0.1F, 0.66F, 0.3F},
    {0.88F, 0.42F, 0.12F},
    {0.42F, 0.32F, 0.86F},
    {0.05F, 0.62F, 0.62F},
    {0.78F, 0.56F, 0.06F},
    {0.76F, 0.16F, 0.22F},
    {0.34F, 0.56F, 0.14F},
    {0.18F, 0.5F, 0.72F},
    {0.62F, 0.28F, 0.7F},
    {0.55F, 0.42F, 0.18F},
}};

}  // namespace

std::size_t stableIndex(const UUID& routeID) {
    // 64-bit FNV-1a. The standard library's hashes may differ between versions.
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const char character : routeID.text()) {
        hash ^= static_cast<unsigned char>(character);
        hash *= 0x100000001b3U;
    }
    return hash % kColorCount;
}

QColor color(const UUID& routeID, std::span<const MIDIRoute> routes) {
    const auto found = std::ranges::find(routes, routeID, &MIDIRoute::id);
    const std::size_t index =
        found == routes.end() ? stableIndex(routeID) : static_cast<std::size_t>(found - routes.begin());
    const Components& components = kColors[index % kColorCount];
    return QColor::fromRgbF(components.red, components.green, components.blue);
}

}  // namespace corvel::ui::RouteColorPalette
