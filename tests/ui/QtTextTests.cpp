#include "ui/QtText.hpp"

#include "tests/ui/support/ViewProbe.hpp"

#include <QWidget>
#include <gtest/gtest.h>

#include <string>

namespace corvel::ui {
namespace {

QString toolTipOf(const QString& text) {
    QWidget widget;
    setPlainToolTip(&widget, text);
    return tests::shownToolTip(widget);
}

TEST(QtText, GoesBothWaysUnchanged) {
    for (const std::string text : {"", "<b>x</b>", "A & B", "one\ntwo\r\n\tthree", "Grün 🎹 \u200Fעברית", "&lt;"}) {
        EXPECT_EQ(toUTF8(toQString(text)), text);
    }
    EXPECT_EQ(toQString("Grün 🎹"), QString::fromUtf8("Grün 🎹"));
    EXPECT_EQ(toQString(std::string("a\0b", 3)).size(), 3);
}

TEST(QtText, MarksWhatIsNoUTF8) {
    EXPECT_EQ(toQString("a\xFFz"), QString("a\uFFFDz"));
}

TEST(QtText, ShowsAmpersandsInMenus) {
    EXPECT_EQ(menuTitle("A & B"), "A && B");
    EXPECT_EQ(menuTitle("&&"), "&&&&");
    EXPECT_EQ(menuTitle("<b>x</b>"), "<b>x</b>");
}

TEST(QtText, KeepsTheTextOfAMenuItemApartFromItsShortcut) {
    // The toolkit would take the text after a tab for a shortcut.
    EXPECT_FALSE(menuTitle("A\tB").contains('\t'));
}

TEST(QtText, ShowsEveryCharacterInToolTips) {
    for (const QString text : {"<b>x</b>", "A & B", "&amp;", "a < b", "<br>", "plain", "\"quoted\" 'too'"}) {
        EXPECT_EQ(toolTipOf(text), text);
    }
}

TEST(QtText, KeepsLineBreaksAndBlanksInToolTips) {
    EXPECT_EQ(toolTipOf("one\ntwo"), "one\ntwo");
    EXPECT_EQ(toolTipOf("<i>one</i>\n\nthree"), "<i>one</i>\n\nthree");
    EXPECT_EQ(toolTipOf("a   b"), "a   b");
}

TEST(QtText, ShowsTenThousandCharactersInAToolTip) {
    QString text;
    for (int word = 0; word < 1000; ++word) {
        text += "<b>&amp; x";
    }
    ASSERT_EQ(text.size(), 10'000);
    EXPECT_EQ(toolTipOf(text), text);
    EXPECT_EQ(toolTipOf(QString(10'000, 'x')), QString(10'000, 'x'));
}

TEST(QtText, TakesTheToolTipAwayWithoutAText) {
    QWidget widget;
    setPlainToolTip(&widget, "something");
    setPlainToolTip(&widget, "");
    EXPECT_EQ(widget.toolTip(), "");
}

}  // namespace
}  // namespace corvel::ui
