#include "program/window/ShowWatch.hpp"

#include <QWidget>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace corvel {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct RecordingInhibitor final : SleepInhibitor {
    void inhibit() override { calls.emplace_back("inhibit"); }
    void release() override { calls.emplace_back("release"); }

    std::vector<std::string> calls;
};

class ShowWatches : public ::testing::Test {
protected:
    ShowWatches() { window.show(); }

    QWidget window;
    std::optional<std::chrono::nanoseconds> silence;
    RecordingInhibitor inhibitor;
    std::optional<ShowWatch> watch{std::in_place, window, [this] { return silence; }, inhibitor};
};

TEST_F(ShowWatches, KeepTheScreenLitWhileMessagesAreRoutedOnTheFullScreen) {
    silence = 1s;
    window.showFullScreen();
    EXPECT_THAT(inhibitor.calls, ElementsAre("inhibit"));
    watch->look();
    EXPECT_THAT(inhibitor.calls, ElementsAre("inhibit")) << "once";
}

TEST_F(ShowWatches, BeginWithTheFirstMessage) {
    window.showFullScreen();
    EXPECT_THAT(inhibitor.calls, IsEmpty());
    silence = 0s;
    watch->look();
    EXPECT_THAT(inhibitor.calls, ElementsAre("inhibit"));
}

TEST_F(ShowWatches, EndTenMinutesAfterTheLastMessageAndBeginAgainWithTheNext) {
    silence = 0s;
    window.showFullScreen();
    silence = 10min;
    watch->look();
    EXPECT_THAT(inhibitor.calls, ElementsAre("inhibit"));
    silence = 10min + 1ns;
    watch->look();
    EXPECT_THAT(inhibitor.calls, ElementsAre("inhibit", "release"));
    silence = 3s;
    watch->look();
    EXPECT_THAT(inhibitor.calls, ElementsAre("inhibit", "release", "inhibit"));
}

TEST_F(ShowWatches, EndWhenTheWindowLeavesTheScreen) {
    silence = 0s;
    window.showFullScreen();
    window.showNormal();
    EXPECT_THAT(inhibitor.calls, ElementsAre("inhibit", "release"));
    window.showFullScreen();
    window.hide();
    EXPECT_THAT(inhibitor.calls, ElementsAre("inhibit", "release", "inhibit", "release"));
}

TEST_F(ShowWatches, AreNotForAWindowAmongOthers) {
    silence = 0s;
    watch->look();
    window.showMaximized();
    EXPECT_THAT(inhibitor.calls, IsEmpty());
}

TEST_F(ShowWatches, EndWithTheProgram) {
    silence = 0s;
    window.showFullScreen();
    watch.reset();
    EXPECT_THAT(inhibitor.calls, ElementsAre("inhibit", "release"));
}

}  // namespace
}  // namespace corvel
