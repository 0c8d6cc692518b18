#include "ui/RouterWindow/EndpointLights.hpp"

#include "tests/ui/support/EndpointBuilders.hpp"
#include "ui/RouterWindow/EndpointColumn.hpp"
#include "ui/RouterWindow/EndpointRow.hpp"

#include <QTest>
#include <gtest/gtest.h>

#include <chrono>
#include <utility>

namespace corvel::ui {
namespace {

using namespace std::chrono_literals;

TEST(EndpointLights, AreFullAtFirstAndFadeWithinHalfASecond) {
    EXPECT_EQ(EndpointLights::level(0ms), 1);
    EXPECT_EQ(EndpointLights::level(120ms), 1);
    EXPECT_EQ(EndpointLights::level(310ms), 0.5);
    EXPECT_EQ(EndpointLights::level(500ms), 0);
    EXPECT_EQ(EndpointLights::level(10s), 0);
}

TEST(EndpointLights, ShowOnTheRowsOfTheirOwnDirection) {
    const Look look(AppAppearanceMode::dark);
    QWidget window;
    EndpointColumn inputs(look, "Input", MIDIEndpointDirection::source, &window);
    EndpointColumn outputs(look, "Output", MIDIEndpointDirection::destination, &window);
    inputs.setEndpoints({tests::makeInput(1, "Keys"), tests::makeInput(2, "Pads")});
    outputs.setEndpoints({tests::makeOutput(1, "Synth")});
    window.resize(600, 400);
    outputs.move(300, 0);
    window.show();
    QCoreApplication::processEvents();
    ActiveEndpoints active;
    EndpointLights lights(
        inputs, outputs, [&active] { return std::exchange(active, {}); }, &window);
    // Seven pixels beside the middle of the dot.
    const auto isLit = [](EndpointRow& row) { return row.grab().toImage().pixel(row.width() - 25, 20) != 0xFF1F242BU; };
    const Instant now{5s};
    active = {.sources = {2}, .destinations = {}};
    lights.show(now);
    EXPECT_FALSE(isLit(*inputs.rows()[0]));
    EXPECT_TRUE(isLit(*inputs.rows()[1]));
    EXPECT_FALSE(isLit(*outputs.rows()[0]));
    active = {.sources = {}, .destinations = {1, 77}};
    lights.show(now + 400ms);
    EXPECT_TRUE(isLit(*outputs.rows()[0]));
    EXPECT_FALSE(isLit(*inputs.rows()[0]));
    lights.show(now + 600ms);
    EXPECT_FALSE(isLit(*inputs.rows()[1]));
    lights.show(now + 1s);
    EXPECT_FALSE(isLit(*outputs.rows()[0]));
}

}  // namespace
}  // namespace corvel::ui
