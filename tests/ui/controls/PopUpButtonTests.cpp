#include "ui/controls/PopUpButton.hpp"

#include "tests/ui/support/OpenMenu.hpp"
#include "tests/ui/support/ViewProbe.hpp"

#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace corvel::ui {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PopUpButtonTests : public ::testing::Test {
protected:
    PopUpButtonTests() {
        popUp.setItems({"Default", "<b>A & B</b>", "Live"}, 1);
        QObject::connect(&popUp, &PopUpButton::itemChosen, &popUp, [this](int index) { chosen.push_back(index); });
        popUp.show();
        popUp.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&popUp));
        popUp.setFocus(Qt::TabFocusReason);
    }

    void withMenu(const std::function<void(QMenu& menu)>& use) {
        tests::withOpenMenu([this] { QTest::mouseClick(&popUp, Qt::LeftButton); }, use);
    }

    Look look{AppAppearanceMode::dark};
    PopUpButton popUp{look, {220, 32}, true};
    std::vector<int> chosen;
};

TEST_F(PopUpButtonTests, KeepsItsSizeWhateverItShows) {
    EXPECT_EQ(popUp.sizeHint(), QSize(220, 32));
    popUp.setItems({QString(10'000, 'x')}, 0);
    EXPECT_EQ(popUp.sizeHint(), QSize(220, 32));
    EXPECT_EQ(popUp.minimumSizeHint(), QSize(220, 32));
}

TEST_F(PopUpButtonTests, ListsItsItemsWithTheChosenOneTicked) {
    withMenu([](QMenu& menu) {
        // In a menu's title an ampersand is doubled so that it is shown once.
        EXPECT_EQ(tests::titles(menu), QStringList({"Default", "<b>A && B</b>", "Live"}));
        EXPECT_TRUE(menu.actions()[0]->icon().isNull());
        EXPECT_FALSE(menu.actions()[1]->icon().isNull());
        EXPECT_TRUE(menu.actions()[2]->icon().isNull());
    });
    EXPECT_THAT(chosen, IsEmpty());
}

TEST_F(PopUpButtonTests, TicksNothingWhereNothingIsChosen) {
    popUp.setItems({"Default", "Live"}, -1);
    withMenu([](QMenu& menu) {
        EXPECT_TRUE(menu.actions()[0]->icon().isNull());
        EXPECT_TRUE(menu.actions()[1]->icon().isNull());
    });
}

TEST_F(PopUpButtonTests, ReportsTheChosenItemAndChangesNothing) {
    withMenu([](QMenu& menu) { tests::choose(menu, 2); });
    EXPECT_THAT(chosen, ElementsAre(2));
    EXPECT_EQ(popUp.chosenIndex(), 1);
    withMenu([](QMenu& menu) { tests::choose(menu, 1); });
    EXPECT_THAT(chosen, ElementsAre(2, 1));
}

TEST_F(PopUpButtonTests, ReportsNothingWhenTheMenuIsLeft) {
    withMenu([](QMenu& menu) { QTest::keyClick(&menu, Qt::Key_Escape); });
    EXPECT_THAT(chosen, IsEmpty());
}

TEST_F(PopUpButtonTests, IsOpenedAndAnsweredWithTheKeyboard) {
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Down}) {
        tests::withOpenMenu([this, key] { QTest::keyClick(&popUp, key); },
                            [](QMenu& menu) {
                                menu.setActiveAction(menu.actions()[0]);
                                QTest::keyClick(&menu, Qt::Key_Down);
                                QTest::keyClick(&menu, Qt::Key_Down);
                                QTest::keyClick(&menu, Qt::Key_Return);
                            });
    }
    EXPECT_THAT(chosen, ElementsAre(2, 2));
}

TEST_F(PopUpButtonTests, IsOpenedByScreenReaders) {
    tests::withOpenMenu([this] { tests::pressAccessibly(popUp); }, [](QMenu& menu) { tests::choose(menu, 0); });
    EXPECT_THAT(chosen, ElementsAre(0));
}

TEST_F(PopUpButtonTests, SurvivesNewItemsWhileTheMenuIsOpen) {
    withMenu([this](QMenu& menu) {
        popUp.setItems({"Default"}, 0);
        tests::choose(menu, 2);
    });
    EXPECT_THAT(chosen, ::testing::AnyOf(IsEmpty(), ElementsAre(2)));
}

}  // namespace
}  // namespace corvel::ui
