#include "app/TextLine.hpp"

#include "tests/support/ScopedEnvironment.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

namespace corvel::tests {
namespace {

TEST(TextLine, LeavesOrdinaryTextAlone) {
    EXPECT_EQ(escapedLine("Klavier \"Größe\" 5/8 – 鍵盤 🎹"), "Klavier \"Größe\" 5/8 – 鍵盤 🎹");
    EXPECT_EQ(escapedLine(""), "");
    EXPECT_EQ(escapedLine("\u0E01"), "\u0E01") << "the first characters of three bytes";
}

TEST(TextLine, EscapesTabsAndLineEnds) {
    EXPECT_EQ(escapedLine("a\tb\nc\r"), "a\\tb\\nc\\u000D");
}

TEST(TextLine, EscapesBackslashesSoThatAnEscapeCannotBeFeigned) {
    EXPECT_EQ(escapedLine("a\\tb"), "a\\\\tb");
}

TEST(TextLine, EscapesWhatCommandsATerminal) {
    EXPECT_EQ(escapedLine("\x1B[2J\x7F"), "\\u001B[2J\\u007F");
    // U+009B starts the same commands as escape; U+00A0 is a blank and stays.
    EXPECT_EQ(escapedLine("\xC2\x9B"
                          "2J\xC2\xA0"),
              "\\u009B2J\xC2\xA0");
}

TEST(TextLine, EscapesUnicodeLineSeparators) {
    EXPECT_EQ(escapedLine("a\u2028b\u2029"), "a\\u2028b\\u2029");
}

TEST(TextLine, EscapesAZeroByte) {
    EXPECT_EQ(escapedLine(std::string_view("a\0b", 3)), "a\\u0000b");
}

TEST(TextLine, EscapesWhatCannotBeSeen) {
    EXPECT_EQ(escapedLine("Piano\u202Egro\u200B\uFEFF"), "Piano\\u202Egro\\u200B\\uFEFF");
    EXPECT_EQ(escapedLine("x\U000E0041"), "x\\U000E0041");
    EXPECT_EQ(escapedLine("\u05E4\u05E1\u05E0\u05EA\u05E8"), "\u05E4\u05E1\u05E0\u05EA\u05E8")
        << "writing from right to left is none of it";
}

TEST(TextLine, GivesADeviceWithoutAVisibleNameOne) {
    EXPECT_EQ(escapedName(""), "(no name)");
    EXPECT_EQ(escapedName(" \t"), "(no name)");
    EXPECT_EQ(escapedName("\u200B"), "\\u200B");
    EXPECT_EQ(escapedName("a\\b"), "a\\\\b");
    EXPECT_EQ(shownName(" "), "(no name)");
    EXPECT_EQ(shownName("Keys"), "Keys");
}

TEST(TextLine, ShowsCodesOnlyForWhatCannotBeSeenInTheWindow) {
    EXPECT_EQ(shownText("a\\b\tc\nd\u202E\x1B\u2028"), "a\\b\tc\nd\\u202E\\u001B\\u2028");
}

TEST(TextLine, ReplacesWhatIsNotUTF8) {
    EXPECT_EQ(escapedLine("K\xFCrzel"), "K\uFFFDrzel");
}

TEST(TextLine, TellsTheLocalTimeOfDayInMilliseconds) {
    const ScopedEnvironment zone("TZ", "XYZ-5:30");
    ::tzset();
    // 2024-01-01 00:00:00 UTC, and slightly less than 8 ms more.
    const Instant instant{std::chrono::seconds(1'704'067'200) + std::chrono::microseconds(7999)};
    EXPECT_EQ(timeOfDay(instant), "05:30:00.007");
}

TEST(TextLine, TellsTheTimeBeforeTheEpochToo) {
    const ScopedEnvironment zone("TZ", "UTC0");
    ::tzset();
    EXPECT_EQ(timeOfDay(Instant(std::chrono::milliseconds(-1))), "23:59:59.999");
}

}  // namespace
}  // namespace corvel::tests
