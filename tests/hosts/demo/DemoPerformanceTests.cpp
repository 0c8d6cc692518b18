#include "hosts/demo/DemoPerformance.hpp"

#include "tests/support/ByteText.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

using namespace std::chrono_literals;
using hosts::DemoDelivery;
using hosts::DemoDevice;
using hosts::DemoPerformance;
using hosts::DemoPiece;
using hosts::DemoPlayer;
using hosts::DemoSetup;
using std::chrono::nanoseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A keyboard that plays, and a port that can listen to it. Times count from an arbitrary moment.
class DemoPerformanceTest : public ::testing::Test {
protected:
    DemoPerformanceTest() {
        keyboard = addSource(DemoPlayer(DemoPiece::keyboard));
        setup.ports.emplace_back();
    }

    MIDIObjectRef addSource(std::optional<DemoPlayer> player) {
        DemoDevice device;
        device.isSource = true;
        device.player = std::move(player);
        return setup.add(std::move(device)).endpoint;
    }

    void connect(MIDIObjectRef source) { setup.ports.front().connections[source] = source; }
    void disconnect() { setup.ports.front().connections.clear(); }

    std::vector<std::string> playAt(nanoseconds time) {
        std::vector<DemoDelivery> deliveries;
        performance.play(DemoPerformance::Time(time), deliveries);
        return texts(deliveries);
    }

    /// Plays this number of steps, each when it is due.
    void playSteps(int count) {
        for (; count > 0; --count) {
            static_cast<void>(playAt(next().value()));
        }
    }

    [[nodiscard]] std::optional<nanoseconds> next() const {
        const auto time = performance.nextStep();
        return time ? std::optional<nanoseconds>(time->time_since_epoch()) : std::nullopt;
    }

    static std::vector<std::string> texts(const std::vector<DemoDelivery>& deliveries) {
        std::vector<std::string> texts;
        for (const DemoDelivery& delivery : deliveries) {
            for (const MIDIBytes& packet : delivery.packets) {
                texts.push_back(byteText(packet));
            }
        }
        return texts;
    }

    DemoSetup setup;
    MIDIObjectRef keyboard = 0;
    DemoPerformance performance{setup};
};

TEST_F(DemoPerformanceTest, BeginsAHundredMillisecondsAfterTheFirstConnection) {
    EXPECT_FALSE(performance.hasWork());
    EXPECT_THAT(playAt(4s), IsEmpty());
    EXPECT_EQ(next(), std::nullopt);

    connect(keyboard);
    EXPECT_TRUE(performance.hasWork());
    EXPECT_THAT(playAt(5s), IsEmpty());
    EXPECT_FALSE(performance.hasWork());
    EXPECT_EQ(next(), 5'100ms);
    EXPECT_THAT(playAt(5'100ms - 1ns), IsEmpty());
    EXPECT_EQ(next(), 5'100ms);
    EXPECT_THAT(playAt(5'100ms), ElementsAre("90 4C 5C"));
    EXPECT_EQ(next(), 5'120'833'333ns);
}

TEST_F(DemoPerformanceTest, DoesNotBeginForASourceThatDoesNotPlay) {
    connect(addSource(std::nullopt));
    EXPECT_FALSE(performance.hasWork());
    EXPECT_THAT(playAt(0s), IsEmpty());
    EXPECT_EQ(next(), std::nullopt);
}

TEST_F(DemoPerformanceTest, DeliversAtOnceWhatWaitedForAListenerThatWasAwayForAnInstant) {
    connect(keyboard);
    static_cast<void>(playAt(0s));
    playSteps(22);
    disconnect();
    EXPECT_THAT(playAt(next().value()), IsEmpty()) << "the note-off is due";
    EXPECT_FALSE(performance.hasWork());
    EXPECT_THAT(playAt(next().value()), IsEmpty());
    EXPECT_FALSE(performance.hasWork());

    connect(keyboard);
    EXPECT_TRUE(performance.hasWork());
    EXPECT_THAT(playAt(next().value() - 1ns), ElementsAre("80 4C 40"));
    EXPECT_FALSE(performance.hasWork());
}

TEST_F(DemoPerformanceTest, EndsWhenNobodyListensAnyMoreAndBeginsAgainForTheNextListener) {
    connect(keyboard);
    static_cast<void>(playAt(0s));
    playSteps(5);
    disconnect();
    playSteps(3);
    EXPECT_NE(next(), std::nullopt);
    playSteps(1);
    EXPECT_EQ(next(), std::nullopt);

    connect(keyboard);
    EXPECT_TRUE(performance.hasWork());
    static_cast<void>(playAt(10s));
    EXPECT_THAT(playAt(10'100ms), ElementsAre("90 4C 5C"));
}

TEST_F(DemoPerformanceTest, GoesOnForAListenerThatCameInTheMiddleOfABar) {
    connect(keyboard);
    static_cast<void>(playAt(0s));
    playSteps(1);
    disconnect();
    playSteps(3);
    const MIDIObjectRef other = addSource(DemoPlayer(DemoPiece::pads));
    connect(other);
    playSteps(91);
    EXPECT_EQ(next(), 2'079'166'666ns);
    playSteps(1);
    EXPECT_THAT(playAt(next().value()), ElementsAre("99 31 60", "99 2A 54", "99 24 70"));
}

TEST_F(DemoPerformanceTest, CatchesUpWithADelayOfUpToHalfASecondAndLeavesOutALongerOne) {
    connect(keyboard);
    static_cast<void>(playAt(0s));
    playSteps(1);
    EXPECT_EQ(next(), 120'833'333ns);
    static_cast<void>(playAt(620'833'333ns));
    EXPECT_EQ(next(), 141'666'666ns);
    static_cast<void>(playAt(642'666'666ns));
    EXPECT_EQ(next(), 163'500'000ns) << "a millisecond is left out";
}

TEST_F(DemoPerformanceTest, EndsThePiecesThatHaveBegun) {
    static_cast<void>(addSource(std::nullopt));
    static_cast<void>(addSource(DemoPlayer(DemoPiece::pads)));
    connect(keyboard);
    static_cast<void>(playAt(0s));
    playSteps(1);
    std::vector<DemoDelivery> deliveries;
    performance.end(deliveries);
    EXPECT_THAT(texts(deliveries), ElementsAre("80 4C 40", "B0 40 00", "B0 01 00", "E0 00 40"));
}

}  // namespace
}  // namespace corvel::tests
