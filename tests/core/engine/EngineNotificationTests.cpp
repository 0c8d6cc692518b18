#include "tests/core/engine/EngineFixture.hpp"

#include <chrono>
#include <cstdint>

namespace corvel::tests {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr const char* kTree = "logged: Device tree: 0 devices, 0 external devices";
constexpr const char* kChanged = "endpoints changed";
constexpr const char* kImmediate =
    "logged: Endpoint reload (notification immediate): 0 sources, 0 destinations, 0 source connections";
constexpr const char* kSettled =
    "logged: Endpoint reload (notification settled): 0 sources, 0 destinations, 0 source connections";

class EngineNotifications : public EngineFixture {
protected:
    /// The log's text for a notification, without "CoreMIDI notification: ".
    std::string reasonFor(const MIDINotification& notification) {
        delegate->reports.clear();
        host->notify(notification);
        settle();
        constexpr std::string_view kStart = "logged: CoreMIDI notification: ";
        EXPECT_TRUE(delegate->reports.front().starts_with(kStart)) << delegate->reports.front();
        return delegate->reports.front().substr(kStart.size());
    }
};

TEST_F(EngineNotifications, LogReloadAndAnnounceAtOnceAndOnTheQueue) {
    startEngine();
    host->notify({});
    EXPECT_THAT(host->listings, IsEmpty());
    settle();
    EXPECT_THAT(host->listings, ElementsAre(MIDIListing::known));
    EXPECT_THAT(delegate->reports,
                ElementsAre("logged: CoreMIDI notification: setup changed", kImmediate, kTree, kChanged));
}

TEST_F(EngineNotifications, ConnectTheSourcesAgain) {
    addKeysAndSynth();
    startEngine();
    host->sources.clear();
    host->addSource(12, {.displayName = "Pads", .uniqueID = 1012});
    host->notify({.messageID = MIDINotification::kObjectAdded});
    settle();
    EXPECT_THAT(host->connections, ElementsAre(Pair(12, 12)));
}

TEST_F(EngineNotifications, SettleAfter350MillisecondsAndNotBefore) {
    startEngine();
    host->notify({});
    settle();
    EXPECT_THAT(reportsDuring(milliseconds(349)), IsEmpty());
    EXPECT_THAT(reportsDuring(milliseconds(1)), ElementsAre(kSettled, kTree, kChanged));
    EXPECT_THAT(reportsDuring(milliseconds(10'000)), IsEmpty());
}

TEST_F(EngineNotifications, InABurstReloadEachTimeAndSettleOnceAfterTheLast) {
    startEngine();
    for (int index = 0; index < 3; ++index) {
        if (index > 0) {
            EXPECT_THAT(reportsDuring(milliseconds(349)), IsEmpty());
        }
        delegate->reports.clear();
        host->notify({});
        settle();
        EXPECT_THAT(delegate->reports,
                    ElementsAre("logged: CoreMIDI notification: setup changed", kImmediate, kTree, kChanged));
    }
    EXPECT_THAT(reportsDuring(milliseconds(349)), IsEmpty());
    EXPECT_THAT(reportsDuring(milliseconds(1)), ElementsAre(kSettled, kTree, kChanged));
    EXPECT_THAT(reportsDuring(milliseconds(10'000)), IsEmpty());
}

TEST_F(EngineNotifications, SettleAgainAfterALaterChange) {
    startEngine();
    for (int round = 0; round < 2; ++round) {
        host->notify({});
        settle();
        EXPECT_THAT(reportsDuring(milliseconds(350)), ElementsAre(kSettled, kTree, kChanged)) << round;
    }
}

TEST_F(EngineNotifications, SettleAlthoughTheUserRefreshedMeanwhile) {
    startEngine();
    host->notify({});
    settle();
    engine->reloadEndpoints();
    settle();
    EXPECT_THAT(reportsDuring(milliseconds(350)), ElementsAre(kSettled, kTree, kChanged));
}

TEST_F(EngineNotifications, SettledReloadLooksAtEverythingAgainAndConnectsWhatIsThereByThen) {
    addKeysAndSynth();
    startEngine();
    host->notify({});
    settle();
    host->listings.clear();
    host->addSource(12, {.displayName = "Pads", .uniqueID = 1012});
    queue->advance(milliseconds(350));
    EXPECT_THAT(host->listings, ElementsAre(MIDIListing::afresh));
    EXPECT_THAT(host->connections, ElementsAre(Pair(11, 11), Pair(12, 12)));
}

TEST_F(EngineNotifications, BeforeThePortsExistAreLoggedAnnouncedAndSettledWithoutAReload) {
    host->inputPortStatus = -10831;
    startEngine();
    host->notify({.messageID = 4});
    settle();
    EXPECT_THAT(delegate->reports, ElementsAre("logged: CoreMIDI notification: property changed",
                                               "logged: Skipped endpoint reload before engine start", kChanged));
    EXPECT_THAT(reportsDuring(milliseconds(350)),
                ElementsAre("logged: Skipped endpoint reload before engine start", kChanged));
}

TEST_F(EngineNotifications, AreDescribedByTheirIdentifier) {
    startEngine();
    EXPECT_EQ(reasonFor({.messageID = 1}), "setup changed");
    EXPECT_EQ(reasonFor({.messageID = 4}), "property changed");
    EXPECT_EQ(reasonFor({.messageID = 5}), "thru connections changed");
    EXPECT_EQ(reasonFor({.messageID = 6}), "serial port owner changed");
    EXPECT_EQ(reasonFor({.messageID = 7}), "I/O error");
    EXPECT_EQ(reasonFor({.messageID = 8}), "message 8");
    EXPECT_EQ(reasonFor({.messageID = 0}), "message 0");
    EXPECT_EQ(reasonFor({.messageID = -1}), "message -1");
    EXPECT_EQ(reasonFor({.messageID = 4097}), "message 4097");
}

TEST_F(EngineNotifications, OfObjectsNameTheChildAndBothTypes) {
    startEngine();
    EXPECT_EQ(reasonFor({.messageID = 2, .parent = 51, .parentType = 1, .child = 11, .childType = 2}),
              "object added: child=11, childType=source, parentType=entity");
    EXPECT_EQ(reasonFor({.messageID = 3, .parent = 0, .parentType = -1, .child = 4294967295, .childType = 3}),
              "object removed: child=4294967295, childType=destination, parentType=other");
    EXPECT_EQ(reasonFor({.messageID = 2}), "object added: child=0, childType=other, parentType=other");
}

TEST_F(EngineNotifications, NameEveryObjectType) {
    struct Named {
        std::int32_t type;
        const char* name;
    };
    const Named types[] = {{-1, "other"},          {0, "device"},          {1, "entity"},
                           {2, "source"},          {3, "destination"},     {16, "externalDevice"},
                           {17, "externalEntity"}, {18, "externalSource"}, {19, "externalDestination"},
                           {4, "type 4"},          {15, "type 15"},        {20, "type 20"},
                           {-2, "type -2"}};
    startEngine();
    for (const auto& [type, name] : types) {
        EXPECT_EQ(reasonFor({.messageID = 2, .parentType = type, .child = 9, .childType = -1}),
                  std::string("object added: child=9, childType=other, parentType=") + name);
        EXPECT_EQ(reasonFor({.messageID = 3, .parentType = 0, .child = 9, .childType = type}),
                  std::string("object removed: child=9, childType=") + name + ", parentType=device");
    }
}

}  // namespace
}  // namespace corvel::tests
