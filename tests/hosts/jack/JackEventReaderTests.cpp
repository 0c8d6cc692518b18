#include "hosts/jack/JackEventReader.hpp"

#include "core/messages/MIDIBytes.hpp"

#include <gmock/gmock.h>

#include <utility>
#include <vector>

namespace corvel::hosts {
namespace {

using Part = JackEventReader::Part;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class JackEventReaderTest : public testing::Test {
protected:
    using Messages = std::vector<std::pair<Part, MIDIBytes>>;

    Messages read(const std::vector<std::uint8_t>& event) {
        Messages messages;
        reader_.read(event, [&](Part part, std::span<const std::uint8_t> bytes) {
            messages.emplace_back(part, MIDIBytes(bytes));
        });
        return messages;
    }

    static std::pair<Part, MIDIBytes> whole(MIDIBytes bytes) { return {Part::whole, std::move(bytes)}; }

    JackEventReader reader_;
};

TEST_F(JackEventReaderTest, PassesOnEachKindOfMessageAsItIs) {
    for (const std::vector<std::uint8_t>& message : std::vector<std::vector<std::uint8_t>>{{0x80, 60, 0},
                                                                                           {0x9F, 60, 100},
                                                                                           {0xA0, 60, 1},
                                                                                           {0xB0, 7, 127},
                                                                                           {0xC5, 3},
                                                                                           {0xD0, 4},
                                                                                           {0xE0, 0, 64},
                                                                                           {0xF1, 5},
                                                                                           {0xF2, 1, 2},
                                                                                           {0xF3, 6},
                                                                                           {0xF6},
                                                                                           {0xF8},
                                                                                           {0xFF},
                                                                                           {0xF0, 0x7E, 0xF7},
                                                                                           {0xF0, 0xF7}}) {
        EXPECT_THAT(read(message), ElementsAre(whole(MIDIBytes(message.begin(), message.end()))));
    }
    EXPECT_EQ(reader_.malformedCount(), 0U);
}

TEST_F(JackEventReaderTest, GivesRunningStatusItsStatusInOneEventAndInTheNext) {
    EXPECT_THAT(read({0x90, 60, 100, 60, 0}), ElementsAre(whole({0x90, 60, 100}), whole({0x90, 60, 0})));
    EXPECT_THAT(read({62, 100}), ElementsAre(whole({0x90, 62, 100})));
    EXPECT_THAT(read({0xF8}), ElementsAre(whole({0xF8})));
    EXPECT_THAT(read({62, 0}), ElementsAre(whole({0x90, 62, 0}))) << "realtime does not end it";
    EXPECT_EQ(reader_.malformedCount(), 0U);
}

TEST_F(JackEventReaderTest, EndsRunningStatusAtASystemMessage) {
    read({0x90, 60, 100});
    read({0xF6});
    EXPECT_THAT(read({60, 0}), IsEmpty());
    EXPECT_EQ(reader_.malformedCount(), 1U);
}

TEST_F(JackEventReaderTest, EndsRunningStatusAtSysEx) {
    read({0x90, 60, 100});
    read({0xF0, 1, 0xF7});
    EXPECT_THAT(read({60, 0}), IsEmpty());
    EXPECT_EQ(reader_.malformedCount(), 1U);
}

TEST_F(JackEventReaderTest, LeavesOutDataThatBelongsToNothingAndCountsEachRunOnce) {
    EXPECT_THAT(read({1, 2, 3, 0x90, 60, 100}), ElementsAre(whole({0x90, 60, 100})));
    EXPECT_EQ(reader_.malformedCount(), 1U);
}

TEST_F(JackEventReaderTest, LeavesOutAMessageThatEndsTooEarly) {
    EXPECT_THAT(read({0x90, 60}), IsEmpty());
    EXPECT_THAT(read({0x90, 60, 0xB0, 7, 100}), ElementsAre(whole({0xB0, 7, 100})));
    EXPECT_EQ(reader_.malformedCount(), 2U);
}

TEST_F(JackEventReaderTest, TakesNothingForAnEventWithoutBytes) {
    EXPECT_THAT(read({}), IsEmpty());
    EXPECT_EQ(reader_.malformedCount(), 0U);
}

TEST_F(JackEventReaderTest, GivesRealtimeBeforeTheMessageThatItInterrupts) {
    EXPECT_THAT(read({0x90, 0xF8, 60, 100}), ElementsAre(whole({0xF8}), whole({0x90, 60, 100})));
}

TEST_F(JackEventReaderTest, PassesOnSysExInTheParts) {
    EXPECT_THAT(read({0xF0, 1, 2}), ElementsAre(Pair(Part::sysExBegin, MIDIBytes{0xF0, 1, 2})));
    EXPECT_THAT(read({3, 4}), ElementsAre(Pair(Part::sysExMiddle, MIDIBytes{3, 4})));
    EXPECT_THAT(read({0xF8}), ElementsAre(whole({0xF8})));
    EXPECT_THAT(read({5, 0xF7}), ElementsAre(Pair(Part::sysExEnd, MIDIBytes{5, 0xF7})));
    EXPECT_THAT(read({6}), IsEmpty()) << "it has ended";
}

TEST_F(JackEventReaderTest, PassesOnALoneEndOfSysEx) {
    read({0xF0, 1});
    EXPECT_THAT(read({0xF7}), ElementsAre(Pair(Part::sysExEnd, MIDIBytes{0xF7})));
    EXPECT_THAT(read({0xF7}), ElementsAre(whole({0xF7}))) << "which ends nothing";
}

TEST_F(JackEventReaderTest, SplitsSysExAtARealtimeByte) {
    EXPECT_THAT(read({0xF0, 1, 0xF8, 2, 0xF7}), ElementsAre(Pair(Part::sysExBegin, MIDIBytes{0xF0, 1}), whole({0xF8}),
                                                            Pair(Part::sysExEnd, MIDIBytes{2, 0xF7})));
}

TEST_F(JackEventReaderTest, EndsSysExAtTheNextStatus) {
    EXPECT_THAT(read({0xF0, 1, 0x90, 60, 100}),
                ElementsAre(Pair(Part::sysExBegin, MIDIBytes{0xF0, 1}), whole({0x90, 60, 100})));
    EXPECT_THAT(read({62, 100}), ElementsAre(whole({0x90, 62, 100})));
}

}  // namespace
}  // namespace corvel::hosts
