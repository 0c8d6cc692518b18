#include "ui/RouterWindow/StatusBar.hpp"

#include "tests/ui/support/ViewProbe.hpp"
#include "tests/ui/support/WindowModelFixture.hpp"

#include <QAccessible>
#include <QStringList>

#include <string>

namespace corvel::ui {
namespace {

class StatusBarTests : public tests::WindowModelFixture {
protected:
    StatusBarTests() {
        startModel();
        makeBar();
    }

    void makeBar() {
        bar = std::make_unique<StatusBar>(*model, look, nullptr);
        bar->resize(980, 28);
        follow(*bar);
        bar->show();
        turn();
    }

    /// Message and summary.
    [[nodiscard]] QStringList texts() {
        turn();
        return tests::labelTexts(*bar);
    }

    std::unique_ptr<StatusBar> bar;
};

TEST_F(StatusBarTests, ShowsTheMessageAtTheLeftAndTheSetAtTheRight) {
    EXPECT_EQ(texts(), QStringList({"2 inputs, 2 outputs", "Default / 0 connections"}));
    EXPECT_TRUE(tests::isLeftOf(tests::named<QLabel>(*bar, "2 inputs, 2 outputs"),
                                tests::named<QLabel>(*bar, "Default / 0 connections")));
    const QWidget& summary = tests::named<QLabel>(*bar, "Default / 0 connections");
    EXPECT_EQ(summary.mapTo(bar.get(), QPoint(summary.width(), 0)).x(), 980 - 16);
}

TEST_F(StatusBarTests, ShowsWhatHidesItselfInAName) {
    model->createRouteSet("Li\u202Eve");
    EXPECT_EQ(texts()[0], "Created set \"Li\\u202Eve\"");
}

TEST_F(StatusBarTests, CountsConnectionsInThePluralAlways) {
    model->connect(1011, 1021);
    EXPECT_EQ(texts(), QStringList({"Set \"Default\" saved (1 connections)", "Default / 1 connections"}));
    model->connect(1011, 1022);
    EXPECT_EQ(texts(), QStringList({"Set \"Default\" saved (2 connections)", "Default / 2 connections"}));
    model->deleteSelectedRoute();
    EXPECT_EQ(texts()[1], "Default / 1 connections");
}

TEST_F(StatusBarTests, OffersToUndoADeletionBesideItsText) {
    model->connect(1011, 1021);
    turn();
    auto& undo = tests::button(*bar, "Undo");
    EXPECT_FALSE(undo.isVisible());
    model->deleteSelectedRoute();
    turn();
    EXPECT_TRUE(undo.isVisible());
    EXPECT_EQ(tests::shownToolTip(undo), "Undo Delete Connection (Ctrl+Z)");
    const QWidget& message = tests::named<QLabel>(*bar, "Set \"Default\" saved (0 connections)");
    EXPECT_GE(undo.x(), message.geometry().right());
    EXPECT_LE(undo.x(), message.geometry().right() + 32) << "beside it";
    EXPECT_GE(message.width(), message.fontMetrics().horizontalAdvance("Set \"Default\" saved (0 connections)"));
    undo.click();
    EXPECT_EQ(model->routes().size(), 1U);
    turn();
    EXPECT_FALSE(undo.isVisible());
}

TEST_F(StatusBarTests, NamesTheCurrentSet) {
    model->createRouteSet("Live");
    EXPECT_EQ(texts(), QStringList({"Created set \"Live\"", "Live / 0 connections"}));
    model->renameSelectedRouteSet("<b>A & B</b>");
    EXPECT_EQ(texts(), QStringList({"Renamed set \"<b>A & B</b>\"", "<b>A & B</b> / 0 connections"}));
}

TEST_F(StatusBarTests, ShowsAFailureOfTheEngineUnchanged) {
    model->midiRouterEngineDidFail(*engine, "Could not send <MIDI> & more (-50)");
    EXPECT_EQ(texts()[0], "Could not send <MIDI> & more (-50)");
}

TEST_F(StatusBarTests, LetsALongMessageGiveWayAndShowsItWholeInTheTooltip) {
    const std::string message(10'000, 'x');
    model->midiRouterEngineDidFail(*engine, message);
    turn();
    EXPECT_LE(bar->minimumSizeHint().width(), 980);
    const QWidget& summary = tests::named<QLabel>(*bar, "Default / 0 connections");
    EXPECT_EQ(summary.mapTo(bar.get(), QPoint(summary.width(), 0)).x(), 980 - 16);
    EXPECT_GE(summary.width(), summary.fontMetrics().horizontalAdvance("Default / 0 connections"));
    QLabel* elided = nullptr;
    for (QLabel* const label : bar->findChildren<QLabel*>()) {
        elided = label != &summary ? label : elided;
    }
    ASSERT_NE(elided, nullptr);
    EXPECT_EQ(tests::shownToolTip(*elided).toStdString(), message);
}

TEST_F(StatusBarTests, StaysALineHighWithLineBreaksInTheMessage) {
    model->midiRouterEngineDidFail(*engine, "one\ntwo\nthree\nfour");
    turn();
    EXPECT_EQ(bar->height(), 28);
    EXPECT_EQ(bar->maximumHeight(), 28);
    for (const QLabel* const label : bar->findChildren<QLabel*>()) {
        EXPECT_LE(label->height(), 28);
    }
}

TEST_F(StatusBarTests, KeepsALongSetNameInTheWindow) {
    model->renameSelectedRouteSet(std::string(10'000, 'n'));
    turn();
    EXPECT_LE(bar->minimumSizeHint().width(), 980);
    for (const QLabel* const label : bar->findChildren<QLabel*>()) {
        EXPECT_GE(label->mapTo(bar.get(), QPoint()).x(), 0);
        EXPECT_LE(label->mapTo(bar.get(), QPoint(label->width(), 0)).x(), 980);
    }
}

TEST_F(StatusBarTests, IsANotificationForScreenReaders) {
    model->connect(1011, 1021);
    turn();
    QWidget& message = tests::named<QLabel>(*bar, "Set \"Default\" saved (1 connections)");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&message)->role(), QAccessible::Notification);
}

}  // namespace
}  // namespace corvel::ui
