#include "ui/RouterWindow/RouteColorPalette.hpp"

#include "tests/support/RouteBuilders.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace corvel::tests {

namespace {

using namespace ui;

UUID parsed(std::string_view text) {
    return UUID::parse(text).value_or(UUID{});
}

std::vector<MIDIRoute> makeRoutes(std::uint32_t count) {
    std::vector<MIDIRoute> routes;
    for (std::uint32_t number = 1; number <= count; ++number) {
        routes.push_back(makeRoute({.id = makeID(number)}));
    }
    return routes;
}

TEST(RouteColorPalette, followsTheOrderOfTheList) {
    constexpr std::array<QRgb, 12> kExpected{0xFF267AEB, 0xFFD133A8, 0xFF1AA84D, 0xFFE06B1F, 0xFF6B52DB, 0xFF0D9E9E,
                                             0xFFC78F0F, 0xFFC22938, 0xFF578F24, 0xFF2E80B8, 0xFF9E47B3, 0xFF8C6B2E};
    const std::vector<MIDIRoute> routes = makeRoutes(12);
    for (std::uint32_t index = 0; index < 12; ++index) {
        EXPECT_EQ(RouteColorPalette::color(makeID(index + 1), routes).rgba(), kExpected[index]) << index;
    }
}

TEST(RouteColorPalette, hasTheComponentsOfTheFirstColourExactly) {
    EXPECT_EQ(RouteColorPalette::color(makeID(1), makeRoutes(1)), QColor::fromRgbF(0.15F, 0.48F, 0.92F));
}

TEST(RouteColorPalette, startsAgainWithTheThirteenthConnection) {
    const std::vector<MIDIRoute> routes = makeRoutes(26);
    EXPECT_EQ(RouteColorPalette::color(makeID(13), routes).rgba(), 0xFF267AEB);
    EXPECT_EQ(RouteColorPalette::color(makeID(26), routes).rgba(), 0xFFD133A8);
}

TEST(RouteColorPalette, takesTheFirstPlaceOfAConnectionThatIsThereTwice) {
    std::vector<MIDIRoute> routes = makeRoutes(3);
    routes[2].id = makeID(2);
    EXPECT_EQ(RouteColorPalette::color(makeID(2), routes).rgba(), 0xFFD133A8);
}

TEST(RouteColorPalette, derivesAStableIndexFromTheUpperCaseText) {
    EXPECT_EQ(RouteColorPalette::stableIndex(parsed("00000000-0000-0000-0000-000000000000")), 9U);
    EXPECT_EQ(RouteColorPalette::stableIndex(parsed("00000000-0000-4000-8000-000000000001")), 6U);
    EXPECT_EQ(RouteColorPalette::stableIndex(parsed("deadbeef-cafe-4abc-9def-0123456789ab")), 8U);
    EXPECT_EQ(RouteColorPalette::stableIndex(parsed("FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF")), 5U);
}

TEST(RouteColorPalette, givesAConnectionThatIsNotInTheListItsStableColour) {
    EXPECT_EQ(RouteColorPalette::color(makeID(1), {}).rgba(), 0xFFC78F0F);
}

}  // namespace

}  // namespace corvel::tests
