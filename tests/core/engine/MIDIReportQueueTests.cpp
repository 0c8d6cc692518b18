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
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;

/// Pushes the activity of a message through the connection with this number.
bool pushActivity(MIDIReportQueue& queue, std::uint32_t number) {
    RoutedMIDIMessage message{makeID(number), 21, {0x90, 60, 100}};
    return queue.push(std::span(&message, 1), ManualClock::kStart);
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
    EXPECT_THAT(takeAll(queue), ElementsAre("diagnostic a", "activity 0001", "failure b", "activity 0002",
                                            "activity 0003", "endpoints", "endpoints", "activity 0004"));
}

TEST(MIDIReportQueue, GivesWhatWasPushedBeforeTheFirstWasTakenAheadOfTheRest) {
    MIDIReportQueue queue;
    (void)pushActivity(queue, 1);
    (void)queue.push(failure("a"));
    EXPECT_EQ(describe(queue.pop().value()), "activity 0001");
    (void)pushActivity(queue, 2);
    (void)queue.push(diagnostic("b"));
    EXPECT_THAT(takeAll(queue), ElementsAre("failure a", "activity 0002", "diagnostic b"));
}

TEST(MIDIReportQueue, MakesAnEventWithAnIdentityOfItsOwnOfEverySentMessage) {
    MIDIReportQueue queue;
    RoutedMIDIMessage messages[] = {{makeID(8), 21, {0xF0, 1, 0xF7}}, {makeID(8), 21, {0xF0, 1, 0xF7}}};
    (void)queue.push(messages, ManualClock::kStart);
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
    // All reports are taken, but the consumer has not yet seen the empty queue.
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

TEST(MIDIReportQueue, GivesManyReportsInTheirOrderWhileTheyAreTaken) {
    MIDIReportQueue queue;
    std::uint32_t next = 0;
    std::vector<std::string> reports;
    for (std::uint32_t round = 0; round < 60; ++round) {
        for (std::uint32_t count = 0; count < 100; ++count, ++next) {
            (void)pushActivity(queue, next);
            (void)queue.push(failure(std::to_string(next)));
        }
        for (int count = 0; count < 70; ++count) {
            reports.push_back(describe(queue.pop().value()));
        }
    }
    for (std::string& report : takeAll(queue)) {
        reports.push_back(std::move(report));
    }
    ASSERT_EQ(reports.size(), 12'000U);
    EXPECT_EQ(reports[0], "activity 0000");
    EXPECT_EQ(reports[4'001], "failure 2000");
    EXPECT_EQ(reports[11'998], "activity 176F");
    for (std::size_t number = 0; number < 6'000; ++number) {
        ASSERT_EQ(reports[2 * number].substr(0, 8), "activity");
        ASSERT_EQ(reports[2 * number + 1], "failure " + std::to_string(number));
    }
}

// The tables of the sanitizers also touch new pages.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(MIDIReportQueue, TouchesNoNewMemoryForTheActivitiesThatItHasRoomFor) {
    const auto pageFaults = [] {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        return usage.ru_minflt;
    };
    const auto fillAndEmpty = [](MIDIReportQueue& queue) {
        for (std::uint32_t number = 0; number < 4'096; ++number) {
            (void)pushActivity(queue, number);
        }
        while (queue.pop()) {
        }
    };
    // First use of code and data is not counted, so another queue is used before. This one has its own memory.
    MIDIReportQueue first;
    fillAndEmpty(first);
    MIDIReportQueue queue;
    const auto before = pageFaults();
    fillAndEmpty(queue);
    // The activities fill more than sixty pages.
    EXPECT_LT(pageFaults() - before, 20);
}
#endif

TEST(MIDIReportQueue, LetsTheOldestActivitiesGiveWayToThoseBeyondItsLimitAndCountsThem) {
    MIDIReportQueue queue;
    // Notices before, among and behind the activities that are dropped: notices are never dropped.
    (void)queue.push(failure("first"));
    for (std::uint32_t number = 0; number < 1'048'576; ++number) {
        (void)pushActivity(queue, number);
        if (number == 1) {
            (void)queue.push(failure("between"));
        }
    }
    EXPECT_FALSE(queue.hasDropped());
    EXPECT_EQ(queue.takeDroppedCount(), 0U);
    for (std::uint32_t number = 0; number < 3; ++number) {
        (void)pushActivity(queue, 0xAAAA);
    }
    (void)queue.push(failure("last"));
    EXPECT_TRUE(queue.hasDropped());
    EXPECT_EQ(queue.takeDroppedCount(), 3U);
    EXPECT_FALSE(queue.hasDropped());
    EXPECT_EQ(queue.takeDroppedCount(), 0U);

    EXPECT_EQ(describe(queue.pop().value()), "failure first");
    EXPECT_EQ(describe(queue.pop().value()), "failure between");
    EXPECT_EQ(describe(queue.pop().value()), "activity 0003");
    std::size_t activities = 1;
    std::optional<MIDIReport> report = queue.pop();
    for (; std::holds_alternative<MIDIActivityEvent>(report.value()); report = queue.pop()) {
        ++activities;
    }
    EXPECT_EQ(activities, 1'048'576U);
    EXPECT_EQ(describe(report.value()), "failure last");
    EXPECT_FALSE(queue.pop().has_value());
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
