#include "ui/CorvelApp.hpp"

#include "tests/ui/support/OpenMenu.hpp"
#include "tests/ui/support/ViewProbe.hpp"
#include "tests/ui/support/WindowModelFixture.hpp"
#include "ui/AboutPanel.hpp"
#include "ui/controls/AlertDialog.hpp"

#include <QApplication>
#include <QPalette>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>

namespace corvel::ui {
namespace {

using ::testing::SizeIs;

constexpr const char* kFrameKey = "NSWindow Frame Corvel.RouterWindow-1-AppWindow-1";

class CorvelAppTests : public tests::WindowModelFixture {
protected:
    ~CorvelAppTests() override { app.reset(); }

    void start() {
        app = std::make_unique<CorvelApp>(model, settings, clock, "");
        app->start();
        if (!QTest::qWaitForWindowActive(&app->window())) {
            throw std::runtime_error("the window does not become active");
        }
        turn();
    }

    [[nodiscard]] std::ptrdiff_t clientCount() const { return std::ranges::count(host->requested, "Corvel"); }

    [[nodiscard]] static bool isDark() { return QApplication::palette().color(QPalette::Window).lightness() < 128; }

    /// Opens the application menu and calls `use`.
    void withMenu(const std::function<void(QMenu& menu)>& use) {
        tests::withOpenMenu([this] { tests::button(app->window(), "Application menu").click(); }, use);
    }

    void choose(const QString& title) {
        withMenu([&title](QMenu& menu) { tests::choose(menu, tests::titles(menu).indexOf(title)); });
        turn();
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(app->window().windowHandle(), key, modifiers);
    }

    /// Whether the application quits after this action.
    static bool ends(const std::function<void()>& action) {
        bool isTimeOver = false;
        QTimer limit;
        QObject::connect(&limit, &QTimer::timeout, &limit, [&isTimeOver] {
            isTimeOver = true;
            QCoreApplication::exit(1);
        });
        limit.start(2000);
        QTimer::singleShot(0, &limit, action);
        return QCoreApplication::exec() == 0 && !isTimeOver;
    }

    std::unique_ptr<CorvelApp> app;
};

TEST_F(CorvelAppTests, HasAWindowTitledCorvel) {
    start();
    EXPECT_EQ(app->window().windowTitle(), "Corvel");
    EXPECT_TRUE(app->window().isVisible());
}

TEST_F(CorvelAppTests, StartsTheEngineWhenTheWindowAppearsAndOnlyOnce) {
    app = std::make_unique<CorvelApp>(model, settings, clock, "");
    settle();
    EXPECT_EQ(clientCount(), 0);
    app.reset();
    start();
    EXPECT_EQ(clientCount(), 1);
    EXPECT_THAT(model->sources(), SizeIs(2));
    app->window().hide();
    app->window().show();
    turn();
    app->activateApplicationWindow();
    turn();
    EXPECT_EQ(clientCount(), 1);
}

TEST_F(CorvelAppTests, RoutesTheSavedConnectionsAtOnce) {
    model->connect(1011, 1021);
    startModel();
    model->connect(1011, 1021);
    makeModel();
    start();
    EXPECT_THAT(playKeys(), SizeIs(1));
}

TEST_F(CorvelAppTests, GivesTheWindowItsFirstFrameOnce) {
    start();
    QWidget& window = app->window();
    ASSERT_TRUE(turnUntil([&window] { return window.frameGeometry().size() == QSize(1180, 760); }));
    window.setGeometry(20, 30, 1000, 700);
    app->activateApplicationWindow();
    turn();
    EXPECT_EQ(window.geometry(), QRect(20, 30, 1000, 700));
}

TEST_F(CorvelAppTests, LeavesAWindowWithASavedFrameWhereItIs) {
    start();
    app->window().setGeometry(20, 30, 1000, 700);
    turn();
    app->window().close();
    turn();
    ASSERT_TRUE(settings->string(kFrameKey).has_value());
    app.reset();
    start();
    EXPECT_TRUE(turnUntil([this] { return app->window().geometry() == QRect(20, 30, 1000, 700); }));
}

TEST_F(CorvelAppTests, IsDarkAtFirstAndFollowsTheModel) {
    start();
    EXPECT_TRUE(isDark());
    model->setAppearanceMode(AppAppearanceMode::light);
    turn();
    EXPECT_FALSE(isDark());
    model->setAppearanceMode(AppAppearanceMode::dark);
    turn();
    EXPECT_TRUE(isDark());
}

TEST_F(CorvelAppTests, BeginsWithTheStoredAppearance) {
    settings->set("Corvel.appearanceMode", "light");
    makeModel();
    start();
    EXPECT_FALSE(isDark());
}

TEST_F(CorvelAppTests, TakesAnUnknownStoredAppearanceForNone) {
    settings->set("Corvel.appearanceMode", "blue");
    makeModel();
    start();
    EXPECT_TRUE(isDark());
    EXPECT_EQ(settings->string("Corvel.appearanceMode"), "blue");
}

TEST_F(CorvelAppTests, HasAMenuOfEverythingThatItsKeysDo) {
    start();
    withMenu([](QMenu& menu) {
        EXPECT_EQ(tests::titles(menu), QStringList({"About Corvel", "New Window", "Undo", "Redo", "All Notes Off",
                                                    "Refresh MIDI Devices", "Quit Corvel"}));
        QStringList shortcuts;
        QList<bool> enabled;
        for (const QAction* const action : menu.actions()) {
            if (!action->isSeparator()) {
                shortcuts.append(action->shortcut().toString(QKeySequence::PortableText));
                enabled.append(action->isEnabled());
            }
        }
        EXPECT_EQ(shortcuts, QStringList({"", "Ctrl+N", "Ctrl+Z", "Ctrl+Shift+Z", "Ctrl+.", "Ctrl+R", "Ctrl+Q"}));
        EXPECT_EQ(enabled, QList<bool>({true, false, false, false, true, true, true}));
    });
}

TEST_F(CorvelAppTests, NamesWhatWouldBeUndoneAndRedone) {
    start();
    const auto titles = [this] {
        turn();
        QStringList texts;
        for (const QAction* const action : app->window().actions().sliced(2, 2)) {
            texts.append(action->text());
        }
        return texts;
    };
    model->connect(1011, 1021);
    EXPECT_EQ(titles(), QStringList({"Undo Connect", "Redo"}));
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(model->routes().empty());
    EXPECT_EQ(titles(), QStringList({"Undo", "Redo Connect"}));
    press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(model->routes().size(), 1U);
}

TEST_F(CorvelAppTests, SilencesTheOutputsWithControlPeriod) {
    start();
    model->connect(1011, 1021);
    press(Qt::Key_Period, Qt::ControlModifier);
    EXPECT_EQ(model->statusMessage(), "All notes off on 1 output");
}

TEST_F(CorvelAppTests, OpensTheMenuWithF10) {
    start();
    bool isOpen = false;
    tests::withOpenMenu([this] { press(Qt::Key_F10); }, [&isOpen](QMenu&) { isOpen = true; });
    EXPECT_TRUE(isOpen);
}

TEST_F(CorvelAppTests, RefreshesTheDevices) {
    start();
    host->addSource(13, {.displayName = "Foot", .uniqueID = 1013});
    withMenu([this](QMenu& menu) {
        tests::choose(menu, tests::titles(menu).indexOf("Refresh MIDI Devices"));
        EXPECT_EQ(model->statusMessage(), "Refreshing MIDI devices...");
    });
    settle();
    EXPECT_EQ(model->statusMessage(), "3 inputs, 2 outputs");
}

TEST_F(CorvelAppTests, RefreshesTheDevicesWithControlR) {
    start();
    press(Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(model->statusMessage(), "Refreshing MIDI devices...");
}

TEST_F(CorvelAppTests, LetsAStoredControlRWinOverTheMenu) {
    start();
    model->connect(1011, 1021);
    const UUID id = model->routes()[0].id;
    model->addChannelAssignment(id, ChannelMode::force(3),
                                KeyboardShortcutSpec("r", {KeyboardShortcutModifier::command}));
    model->setActiveVariant(model->routes()[0].variants[0].id, id);
    turn();
    press(Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(model->statusMessage(), "Selected output channel Ch 3");
}

TEST_F(CorvelAppTests, OpensNoSecondWindow) {
    start();
    const qsizetype before = QApplication::topLevelWidgets().size();
    press(Qt::Key_N, Qt::ControlModifier);
    turn();
    EXPECT_EQ(QApplication::topLevelWidgets().size(), before);
}

TEST_F(CorvelAppTests, ShowsTheAboutPanelOnce) {
    start();
    choose("About Corvel");
    const auto panels = [this] { return app->window().findChildren<AboutPanel*>(); };
    ASSERT_THAT(panels(), SizeIs(1));
    EXPECT_TRUE(panels()[0]->isVisible());
    app->showAboutPanel();
    turn();
    EXPECT_THAT(panels(), SizeIs(1));
}

TEST_F(CorvelAppTests, ComesForwardOnTheNextTurn) {
    start();
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    app->activateApplicationWindow();
    EXPECT_TRUE(other.isActiveWindow());
    EXPECT_TRUE(QTest::qWaitForWindowActive(&app->window()));
    EXPECT_EQ(app->window().windowTitle(), "Corvel");
}

TEST_F(CorvelAppTests, EndsWhenTheWindowIsClosed) {
    start();
    EXPECT_TRUE(ends([this] { app->window().close(); }));
}

TEST_F(CorvelAppTests, EndsWhenTheWindowIsClosedWithASheetOpen) {
    start();
    app->showAboutPanel();
    turn();
    EXPECT_TRUE(ends([this] { app->window().close(); }));
}

TEST_F(CorvelAppTests, EndsWithControlQ) {
    start();
    EXPECT_TRUE(ends([this] { press(Qt::Key_Q, Qt::ControlModifier); }));
}

TEST_F(CorvelAppTests, SaysWhyTheDemoDevicesRun) {
    app = std::make_unique<CorvelApp>(model, settings, clock, "No sequencer here");
    app->start();
    turn();
    EXPECT_EQ(tests::shownToolTip(tests::named<QLabel>(app->window(), "Demo devices")), "No sequencer here");
}

TEST_F(CorvelAppTests, AsksBeforeItEndsByKeyWhileMessagesAreRouted) {
    start();
    model->connect(1011, 1021);
    report(model->routes()[0].id, {0x90, 60, 100});
    turn();
    EXPECT_FALSE(ends([this] { press(Qt::Key_Q, Qt::ControlModifier); }));
    auto& question = tests::only<AlertDialog>(app->window());
    EXPECT_EQ(question.windowTitle(), "Quit Corvel");
    EXPECT_TRUE(ends([&question] { tests::button(question, "Quit").click(); }));
}

TEST_F(CorvelAppTests, EndsByKeyTenSecondsAfterTheLastMessage) {
    start();
    model->connect(1011, 1021);
    report(model->routes()[0].id, {0x90, 60, 100});
    turn();
    clock->advance(std::chrono::milliseconds(10'001));
    EXPECT_TRUE(ends([this] { press(Qt::Key_Q, Qt::ControlModifier); }));
}

TEST_F(CorvelAppTests, EndsFromTheMenuWithoutAQuestion) {
    start();
    model->connect(1011, 1021);
    report(model->routes()[0].id, {0x90, 60, 100});
    turn();
    EXPECT_TRUE(ends([this] { choose("Quit Corvel"); }));
}

}  // namespace
}  // namespace corvel::ui
