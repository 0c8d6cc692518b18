#include "core/engine/MIDIActivityEvent.hpp"

#include "core/engine/MIDIDiagnosticEvent.hpp"
#include "tests/support/ManualClock.hpp"
#include "tests/support/RouteBuilders.hpp"

#include <gtest/gtest.h>

#include <chrono>

namespace corvel::tests {
namespace {

TEST(MIDIActivityEvent, TellsItsKindFromItsBytes) {
    const auto kindOf = [](MIDIBytes bytes) {
        return MIDIActivityEvent(makeID(1), makeID(2), ManualClock::kStart, std::move(bytes)).messageKind;
    };
    EXPECT_EQ(kindOf({0x90, 60, 100}), MIDIMessageKind::noteOn);
    EXPECT_EQ(kindOf({0x90, 60, 0}), MIDIMessageKind::noteOff);
    EXPECT_EQ(kindOf({0xB3, 7, 90, 0x90, 60, 100}), MIDIMessageKind::controlChange);
    EXPECT_EQ(kindOf({0xF8}), MIDIMessageKind::timingClock);
    EXPECT_EQ(kindOf({60}), MIDIMessageKind::data);
    EXPECT_EQ(kindOf({}), MIDIMessageKind::unknown);
}

TEST(MIDIActivityEvent, ComparesEveryField) {
    const MIDIActivityEvent event(makeID(1), makeID(2), ManualClock::kStart, {0x90, 60, 100});
    EXPECT_EQ(event, MIDIActivityEvent(makeID(1), makeID(2), ManualClock::kStart, {0x90, 60, 100}));
    EXPECT_NE(event, MIDIActivityEvent(makeID(3), makeID(2), ManualClock::kStart, {0x90, 60, 100}));
    EXPECT_NE(event, MIDIActivityEvent(makeID(1), makeID(3), ManualClock::kStart, {0x90, 60, 100}));
    EXPECT_NE(event, MIDIActivityEvent(makeID(1), makeID(2), ManualClock::kStart + std::chrono::nanoseconds(1),
                                       {0x90, 60, 100}));
    EXPECT_NE(event, MIDIActivityEvent(makeID(1), makeID(2), ManualClock::kStart, {0x90, 60, 101}));
    MIDIActivityEvent other = event;
    other.messageKind = MIDIMessageKind::noteOff;
    EXPECT_NE(event, other);
}

TEST(MIDIDiagnosticEvent, ComparesEveryField) {
    const MIDIDiagnosticEvent event{makeID(1), ManualClock::kStart, "started"};
    EXPECT_EQ(event, (MIDIDiagnosticEvent{makeID(1), ManualClock::kStart, "started"}));
    EXPECT_NE(event, (MIDIDiagnosticEvent{makeID(2), ManualClock::kStart, "started"}));
    EXPECT_NE(event, (MIDIDiagnosticEvent{makeID(1), ManualClock::kStart + std::chrono::nanoseconds(1), "started"}));
    EXPECT_NE(event, (MIDIDiagnosticEvent{makeID(1), ManualClock::kStart, "Started"}));
}

}  // namespace
}  // namespace corvel::tests
