#include "ui/RouterWindow/DiagnosticsView.hpp"

#include "tests/ui/support/ViewProbe.hpp"
#include "tests/ui/support/WindowModelFixture.hpp"
#include "ui/RouterWindow/DiagnosticRow.hpp"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

namespace corvel::ui {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// The fixture's clock starts at midnight.
class DiagnosticsViewTests : public tests::WindowModelFixture {
protected:
    DiagnosticsViewTests() {
        setTimeZone("UTC0");
        view.resize(572, 340);
        follow(view);
        view.show();
        turn();
        QGuiApplication::clipboard()->setText("before");
    }

    static void setTimeZone(const char* zone) {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }

    void log(std::chrono::nanoseconds sinceMidnight, const std::string& message) {
        model->midiRouterEngineDidLog(
            *engine, MIDIDiagnosticEvent{UUID::random(), tests::ManualClock::kStart + sinceMidnight, message});
        turn();
    }

    [[nodiscard]] QAbstractButton& copyButton() { return tests::only<QAbstractButton>(view); }

    [[nodiscard]] std::string copied() {
        copyButton().click();
        return QGuiApplication::clipboard()->text().toStdString();
    }

    /// From top to bottom.
    [[nodiscard]] std::vector<DiagnosticRow*> rows() const {
        const auto found = view.findChildren<DiagnosticRow*>();
        std::vector<DiagnosticRow*> rows(found.begin(), found.end());
        std::sort(rows.begin(), rows.end(), [this](const DiagnosticRow* upper, const DiagnosticRow* lower) {
            return upper->mapTo(&view, QPoint()).y() < lower->mapTo(&view, QPoint()).y();
        });
        return rows;
    }

    [[nodiscard]] std::vector<std::string> shown() const {
        std::vector<std::string> texts;
        for (DiagnosticRow* const row : rows()) {
            texts.push_back(tests::accessibleName(*row).toStdString());
        }
        return texts;
    }

    DiagnosticsView view{*model, look, nullptr};
};

constexpr auto kTenAndASecond = 10h + 1s + 250ms;

TEST_F(DiagnosticsViewTests, HasAHeading) {
    EXPECT_EQ(tests::labelTexts(view).value(0), "Diagnostics");
}

TEST_F(DiagnosticsViewTests, CopiesNothingWhileThereIsNothing) {
    EXPECT_FALSE(copyButton().isEnabled());
    EXPECT_EQ(tests::shownToolTip(copyButton()), "No diagnostics to copy");
    EXPECT_EQ(copied(), "before");
    EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(DiagnosticsViewTests, CopiesAsSoonAsThereIsSomething) {
    log(kTenAndASecond, "Client started");
    EXPECT_TRUE(copyButton().isEnabled());
    EXPECT_EQ(tests::shownToolTip(copyButton()), "Copy diagnostics");
    EXPECT_EQ(tests::accessibleName(copyButton()), "Copy diagnostics");
    EXPECT_EQ(copied(), "10:00:01.250 Client started");
}

TEST_F(DiagnosticsViewTests, CopiesTheNewestFirst) {
    log(kTenAndASecond, "first");
    log(10h + 2s + 500ms, "second");
    EXPECT_EQ(copied(), "10:00:02.500 second\n10:00:01.250 first");
}

TEST_F(DiagnosticsViewTests, CopiesInTheOrderInWhichTheyCameWhateverTheirTimes) {
    log(kTenAndASecond, "first");
    log(9h, "second, after the clock was set back");
    EXPECT_EQ(copied(), "09:00:00.000 second, after the clock was set back\n10:00:01.250 first");
}

TEST_F(DiagnosticsViewTests, CopiesMessagesAsTheyAre) {
    log(0ns, "<b>x</b> & y\n  indented -> line\n");
    EXPECT_EQ(copied(), "00:00:00.000 <b>x</b> & y\n  indented -> line\n");
    EXPECT_EQ(QGuiApplication::clipboard()->mimeData()->formats(), QStringList("text/plain"));
}

TEST_F(DiagnosticsViewTests, CutsTimesOffAtTheMillisecond) {
    log(kTenAndASecond + 999'999ns, "a");
    log(23h + 59min + 59s + 999'999'999ns, "b");
    EXPECT_EQ(copied(), "23:59:59.999 b\n10:00:01.250 a");
}

TEST_F(DiagnosticsViewTests, CutsTimesBeforeTheEpochOffToo) {
    model->midiRouterEngineDidLog(*engine, MIDIDiagnosticEvent{UUID::random(), Instant(-1ns), "a"});
    turn();
    EXPECT_EQ(copied(), "23:59:59.999 a");
}

TEST_F(DiagnosticsViewTests, ShowsTimesOfTheUsersZone) {
    setTimeZone("IST-5:30");
    log(kTenAndASecond, "a");
    EXPECT_EQ(copied(), "15:30:01.250 a");
    setTimeZone("UTC0");
}

TEST_F(DiagnosticsViewTests, ListsTheNewestFirst) {
    log(kTenAndASecond, "first");
    log(10h + 2s + 500ms, "second <b>x</b>");
    ASSERT_THAT(shown(), SizeIs(2));
    EXPECT_THAT(shown()[0], HasSubstr("second <b>x</b>"));
    EXPECT_THAT(shown()[0], HasSubstr("10:00:02.500"));
    EXPECT_THAT(shown()[1], HasSubstr("first"));
    EXPECT_THAT(shown()[1], HasSubstr("10:00:01.250"));
}

TEST_F(DiagnosticsViewTests, KeepsTheRowsOfEventsThatStay) {
    log(1s, "first");
    const QPointer<DiagnosticRow> row = rows().front();
    log(2s, "second");
    EXPECT_EQ(rows().back(), row.data());
}

TEST_F(DiagnosticsViewTests, ListsTheNewestEightyAlone) {
    for (int number = 1; number <= 81; ++number) {
        log(std::chrono::seconds(number), "event " + std::to_string(number));
    }
    const std::vector<std::string> texts = shown();
    ASSERT_THAT(texts, SizeIs(80));
    EXPECT_THAT(texts.front(), HasSubstr("event 81"));
    EXPECT_THAT(texts.back(), HasSubstr("event 2"));
    EXPECT_EQ(std::ranges::count(copied(), '\n'), 79);
}

TEST_F(DiagnosticsViewTests, HasRoomForLongMessages) {
    log(1s, std::string(10'000, 'x'));
    ASSERT_THAT(rows(), SizeIs(1));
    EXPECT_LE(rows()[0]->width(), 572);
    EXPECT_EQ(copied(), "00:00:01.000 " + std::string(10'000, 'x'));
}

TEST_F(DiagnosticsViewTests, CopiesForScreenReaders) {
    log(1s, "a");
    tests::pressAccessibly(copyButton());
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "00:00:01.000 a");
}

}  // namespace
}  // namespace corvel::ui
