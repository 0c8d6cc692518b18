#include "core/engine/MIDIReportQueue.hpp"

#include "core/messages/RoutedMIDIMessage.hpp"
#include "tests/support/ManualClock.hpp"
#include "tests/support/RouteBuilders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;

/// Pushes the activity of a message that went through the connection of this number.
bool pushActivity(MIDIReportQueue& queue, std::uint32_t number) {
    return queue.push(RoutedMIDIMessage{makeID(number), 21, {0x90, 60, 100}}, ManualClock::kStart);
}

MIDINotice failure(std::string text) {
    return MIDIFailureReport{std::move(text)};
}

MIDINotice diagnostic(std::string text) {
    return MIDIDiagnosticEvent{makeID(1), ManualClock::kStart, std::move(text)};
}

/// "activity " and the last four digits of its connection's identity, "endpoints", "failure " or "diagnostic " and the
/// text.
std::string describe(const MIDIReport& report) {
    struct Describer {
        std::string operator()(const MIDIActivityEvent& event) const {
            return "activity " + event.routeID.text().substr(32);
        }
        std::string operator()(const MIDIEndpointsReport&) const { return "endpoints"; }
        std::string operator()(const MIDIFailureReport& failed) const { return "failure " + failed.message; }
        std::string operator()(const MIDIDiagnosticEvent& event) const { return "diagnostic " + event.message; }
    };
    return std::visit(Describer(), report);
}

std::vector<std::string> takeAll(MIDIReportQueue& queue) {
    std::vector<std::string> reports;
    while (const std::optional<MIDIReport> report = queue.pop()) {
        reports.push_back(describe(*report));
    }
    return reports;
}

TEST(MIDIReportQueue, IsEmptyAtFirst) {
    MIDIReportQueue queue;
    EXPECT_EQ(queue.size(), 0U);
    EXPECT_FALSE(queue.pop().has_value());
}

TEST(MIDIReportQueue, GivesReportsOfAllKindsInTheOrderInWhichTheyWereMade) {
    MIDIReportQueue queue;
    (void)queue.push(diagnostic("a"));
    (void)pushActivity(queue, 1);
    (void)queue.push(failure("b"));
    (void)pushActivity(queue, 2);
    (void)pushActivity(queue, 3);
    (void)queue.push(MIDIEndpointsReport{});
    (void)queue.push(MIDIEndpointsReport{});
    (void)pushActivity(queue, 4);
    EXPECT_EQ(queue.size(), 8U);
    EXPECT_THAT(takeAll(queue), ElementsAre("diagnostic a", "activity 0001", "failure b", "activity 0002",
                                            "activity 0003", "endpoints", "endpoints", "activity 0004"));
    EXPECT_EQ(queue.size(), 0U);
}

TEST(MIDIReportQueue, GivesWhatWasPushedBeforeTheFirstWasTakenAheadOfTheRest) {
    MIDIReportQueue queue;
    (void)pushActivity(queue, 1);
    (void)queue.push(failure("a"));
    EXPECT_EQ(describe(queue.pop().value()), "activity 0001");
    (void)pushActivity(queue, 2);
    (void)queue.push(diagnostic("b"));
    EXPECT_EQ(queue.size(), 3U);
    EXPECT_THAT(takeAll(queue), ElementsAre("failure a", "activity 0002", "diagnostic b"));
}

TEST(MIDIReportQueue, MakesAnEventWithAnIdentityOfItsOwnOfEverySentMessage) {
    MIDIReportQueue queue;
    const RoutedMIDIMessage message{makeID(8), 21, {0xF0, 1, 0xF7}};
    (void)queue.push(RoutedMIDIMessage(message), ManualClock::kStart);
    (void)queue.push(RoutedMIDIMessage(message), ManualClock::kStart);
    const auto first = std::get<MIDIActivityEvent>(queue.pop().value());
    const auto second = std::get<MIDIActivityEvent>(queue.pop().value());
    EXPECT_EQ(first, MIDIActivityEvent(first.id, makeID(8), ManualClock::kStart, {0xF0, 1, 0xF7}));
    EXPECT_NE(first.id, UUID());
    EXPECT_NE(first.id, second.id);
}

TEST(MIDIReportQueue, GivesNoticesUnchanged) {
    MIDIReportQueue queue;
    const MIDIDiagnosticEvent line{makeID(9), ManualClock::kStart, "two\nlines"};
    (void)queue.push(line);
    EXPECT_EQ(std::get<MIDIDiagnosticEvent>(queue.pop().value()), line);
}

TEST(MIDIReportQueue, AsksForOneWakeUpUntilItWasFoundEmpty) {
    MIDIReportQueue queue;
    EXPECT_TRUE(pushActivity(queue, 1));
    EXPECT_FALSE(pushActivity(queue, 2));
    EXPECT_FALSE(queue.push(failure("a")));
    (void)queue.pop();
    EXPECT_FALSE(pushActivity(queue, 3));
    (void)queue.pop();
    (void)queue.pop();
    EXPECT_EQ(describe(queue.pop().value()), "activity 0003");
    // Taken out to the last, but whoever takes has not seen yet that there is no more.
    EXPECT_FALSE(queue.push(MIDIEndpointsReport{}));
    EXPECT_TRUE(queue.pop().has_value());
    EXPECT_FALSE(queue.pop().has_value());
    EXPECT_TRUE(queue.push(diagnostic("b")));
    EXPECT_FALSE(queue.push(diagnostic("c")));
}

TEST(MIDIReportQueue, FindingItEmptyTwiceStillAsksForOneWakeUp) {
    MIDIReportQueue queue;
    (void)queue.pop();
    (void)queue.pop();
    EXPECT_TRUE(pushActivity(queue, 1));
    EXPECT_FALSE(pushActivity(queue, 2));
}

TEST(MIDIReportQueue, TouchesNoNewMemoryForItsFirstActivities) {
    const auto pageFaults = [] {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        return usage.ru_minflt;
    };
    const auto fillTwice = [](MIDIReportQueue& queue) {
        for (int round = 0; round < 2; ++round) {
            for (std::uint32_t number = 0; number < 4096; ++number) {
                (void)pushActivity(queue, number);
            }
            (void)queue.pop();
        }
    };
    // What the pushing itself needs for the first time is not counted; this queue keeps its memory from the other one.
    MIDIReportQueue first;
    fillTwice(first);
    MIDIReportQueue queue;
    const auto before = pageFaults();
    fillTwice(queue);
    // The reports of a round fill more than sixty pages.
    EXPECT_LT(pageFaults() - before, 20);
}

TEST(MIDIReportQueue, Keeps4096Activities) {
    MIDIReportQueue queue;
    for (std::uint32_t number = 0; number < 4096; ++number) {
        (void)pushActivity(queue, number);
    }
    EXPECT_EQ(queue.size(), 4096U);
    EXPECT_EQ(describe(queue.pop().value()), "activity 0000");
    const std::vector<std::string> rest = takeAll(queue);
    EXPECT_EQ(rest.size(), 4095U);
    EXPECT_EQ(rest.back(), "activity 0FFF");
}

TEST(MIDIReportQueue, LetsTheOldestActivityGiveWayToThe4097th) {
    MIDIReportQueue queue;
    for (std::uint32_t number = 0; number < 4097; ++number) {
        (void)pushActivity(queue, number);
    }
    EXPECT_EQ(queue.size(), 4096U);
    const std::vector<std::string> reports = takeAll(queue);
    ASSERT_EQ(reports.size(), 4096U);
    EXPECT_EQ(reports.front(), "activity 0001");
    EXPECT_EQ(reports.back(), "activity 1000");
}

TEST(MIDIReportQueue, NeverDropsANoticeAndKeepsTheOrderWhenActivitiesGiveWay) {
    MIDIReportQueue queue;
    for (std::uint32_t number = 0; number < 6000; ++number) {
        (void)pushActivity(queue, number);
        (void)queue.push(failure(std::to_string(number)));
    }
    EXPECT_EQ(queue.size(), 10'096U);
    const std::vector<std::string> reports = takeAll(queue);
    ASSERT_EQ(reports.size(), 10'096U);
    for (std::size_t number = 0; number < 1904; ++number) {
        EXPECT_EQ(reports[number], "failure " + std::to_string(number));
    }
    EXPECT_EQ(reports[1904], "activity 0770");
    EXPECT_EQ(reports[1905], "failure 1904");
    EXPECT_EQ(reports[10'094], "activity 176F");
    EXPECT_EQ(reports[10'095], "failure 5999");
}

TEST(MIDIReportQueue, GivesWhatTwoThreadsPushEachInItsOrderAndWakesNobodyTwice) {
    MIDIReportQueue queue;
    constexpr int kReports = 2000;
    std::atomic<int> wakeUps{0};
    const auto push = [&](const std::string& name) {
        for (int number = 0; number < kReports; ++number) {
            if (queue.push(failure(name + std::to_string(number)))) {
                ++wakeUps;
            }
        }
    };
    std::thread first(push, "a");
    std::thread second(push, "b");
    first.join();
    second.join();
    EXPECT_EQ(wakeUps, 1);
    int nextOfFirst = 0;
    int nextOfSecond = 0;
    for (const std::string& report : takeAll(queue)) {
        int& next = report.starts_with("failure a") ? nextOfFirst : nextOfSecond;
        EXPECT_EQ(report.substr(9), std::to_string(next));
        ++next;
    }
    EXPECT_EQ(nextOfFirst, kReports);
    EXPECT_EQ(nextOfSecond, kReports);
}

}  // namespace
}  // namespace corvel::tests
