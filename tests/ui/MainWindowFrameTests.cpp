#include "ui/MainWindowFrame.hpp"

#include "app/InMemorySettings.hpp"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace corvel::ui {
namespace {

constexpr const char* kFrameKey = "NSWindow Frame Corvel.RouterWindow-1-AppWindow-1";

class MainWindowFrameTests : public ::testing::Test {
protected:
    template <typename Condition>
    static bool turnUntil(Condition&& holds) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
        do {
            QCoreApplication::processEvents();
            if (holds()) {
                return true;
            }
        } while (std::chrono::steady_clock::now() < deadline);
        return false;
    }

    [[nodiscard]] bool isSaved() const { return settings->string(kFrameKey).has_value(); }

    /// Stores the settings of a window that was closed with this geometry.
    void leaveWindowAt(const QRect& geometry) {
        QWidget window;
        MainWindowFrame frame(window, settings);
        window.show();
        window.setGeometry(geometry);
        EXPECT_TRUE(turnUntil([&] { return window.geometry() == geometry; }));
        window.close();
        QCoreApplication::processEvents();
    }

    /// The default frame: 1180 × 760 with the decorations, in the middle of the free area of the screen.
    [[nodiscard]] static QRect firstFrame() {
        const QRect free = QGuiApplication::primaryScreen()->availableGeometry();
        return {free.x() + free.width() / 2 - 590, free.y() + free.height() / 2 - 380, 1180, 760};
    }

    std::shared_ptr<InMemorySettings> settings = std::make_shared<InMemorySettings>();
};

TEST_F(MainWindowFrameTests, IsInTheMiddleOfTheScreenAtTheFirstStart) {
    QWidget window;
    MainWindowFrame frame(window, settings);
    window.show();
    frame.applyDefaultMainWindowFrameIfNeeded();
    EXPECT_TRUE(turnUntil([&] { return window.frameGeometry() == firstFrame(); }))
        << window.frameGeometry().x() << ", " << window.frameGeometry().y() << ", " << window.frameGeometry().width()
        << " x " << window.frameGeometry().height();
}

TEST_F(MainWindowFrameTests, IsGivenToTheWindowOnce) {
    QWidget window;
    MainWindowFrame frame(window, settings);
    window.show();
    frame.applyDefaultMainWindowFrameIfNeeded();
    ASSERT_TRUE(turnUntil([&] { return window.frameGeometry() == firstFrame(); }));
    window.setGeometry(20, 30, 1000, 700);
    frame.applyDefaultMainWindowFrameIfNeeded();
    EXPECT_FALSE(window.geometry() != QRect(20, 30, 1000, 700));
    QCoreApplication::processEvents();
    EXPECT_EQ(window.geometry(), QRect(20, 30, 1000, 700));
}

TEST_F(MainWindowFrameTests, IsSavedWhenTheWindowMoves) {
    QWidget window;
    MainWindowFrame frame(window, settings);
    window.resize(1000, 700);
    window.show();
    window.move(30, 40);
    EXPECT_TRUE(turnUntil([this] { return isSaved(); }));
    const auto before = settings->string(kFrameKey);
    window.move(50, 60);
    EXPECT_TRUE(turnUntil([&] { return settings->string(kFrameKey) != before; }));
}

TEST_F(MainWindowFrameTests, IsSavedWhenTheWindowIsResized) {
    QWidget window;
    MainWindowFrame frame(window, settings);
    window.show();
    ASSERT_TRUE(turnUntil([&] { return window.isVisible(); }));
    window.resize(1001, 701);
    EXPECT_TRUE(turnUntil([this] { return isSaved(); }));
    const auto before = settings->string(kFrameKey);
    window.resize(1002, 702);
    EXPECT_TRUE(turnUntil([&] { return settings->string(kFrameKey) != before; }));
}

TEST_F(MainWindowFrameTests, IsSavedWhenTheWindowIsClosed) {
    QWidget window;
    MainWindowFrame frame(window, settings);
    window.show();
    window.close();
    EXPECT_TRUE(isSaved());
}

TEST_F(MainWindowFrameTests, ComesBackAtTheNextStart) {
    leaveWindowAt({70, 80, 600, 500});
    ASSERT_TRUE(isSaved());
    QWidget window;
    MainWindowFrame frame(window, settings);
    window.show();
    frame.applyDefaultMainWindowFrameIfNeeded();
    EXPECT_TRUE(turnUntil([&] { return window.geometry() == QRect(70, 80, 600, 500); }))
        << window.geometry().x() << ", " << window.geometry().y() << ", " << window.geometry().width() << " x "
        << window.geometry().height();
}

TEST_F(MainWindowFrameTests, ComesBackAsItWasAfterManyStarts) {
    leaveWindowAt({70, 80, 600, 500});
    for (int start = 0; start < 3; ++start) {
        QWidget window;
        MainWindowFrame frame(window, settings);
        window.show();
        ASSERT_TRUE(turnUntil([&] { return window.geometry() == QRect(70, 80, 600, 500); })) << start;
        window.close();
        QCoreApplication::processEvents();
    }
}

TEST_F(MainWindowFrameTests, IsLeftAloneWithAFrameUnderAnyKeyThatCounts) {
    settings->set("NSWindow Frame Old.AppWindow-RouterWindow", "whatever");
    QWidget window;
    window.resize(600, 500);
    MainWindowFrame frame(window, settings);
    window.show();
    frame.applyDefaultMainWindowFrameIfNeeded();
    QCoreApplication::processEvents();
    EXPECT_EQ(window.size(), QSize(600, 500));
}

TEST_F(MainWindowFrameTests, SurvivesASavedValueThatIsNoFrame) {
    for (const char* const value : {"", "garbage", "1 2", "1 2 3 4", "0 0 -5 -7", "99999999999 1 99999999999 1",
                                    "nan nan nan nan", "@ByteArray(x)", "AdnQywADAAA="}) {
        settings = std::make_shared<InMemorySettings>();
        settings->set(kFrameKey, value);
        QWidget window;
        window.setMinimumSize(500, 400);
        window.resize(600, 500);
        MainWindowFrame frame(window, settings);
        window.show();
        frame.applyDefaultMainWindowFrameIfNeeded();
        QCoreApplication::processEvents();
        EXPECT_GE(window.width(), 500) << value;
        EXPECT_GE(window.height(), 400) << value;
        EXPECT_LE(window.width(), 1180) << value;
        EXPECT_TRUE(window.frameGeometry().intersects(QGuiApplication::primaryScreen()->availableGeometry())) << value;
    }
}

TEST_F(MainWindowFrameTests, IsSavedOnlyByTheWindowsOwnEvents) {
    QWidget window;
    const MainWindowFrame frame(window, settings);
    QWidget other;
    other.show();
    other.move(30, 40);
    other.close();
    QCoreApplication::processEvents();
    EXPECT_FALSE(isSaved());
}

TEST_F(MainWindowFrameTests, HasTheWorkAreaAsItsMinimumSizeWhereThatIsSmaller) {
    const QSize free = QGuiApplication::primaryScreen()->availableGeometry().size();
    QWidget window;
    window.setMinimumSize(free + QSize(400, -100));
    const MainWindowFrame frame(window, settings);
    EXPECT_EQ(window.minimumSize(), QSize(free.width(), free.height() - 100));
}

TEST_F(MainWindowFrameTests, ComesBackInsideTheScreenFromALargerOne) {
    {
        QWidget window;
        window.setGeometry(2500, 900, 1500, 1000);
        settings->set(kFrameKey, window.saveGeometry().toBase64().toStdString());
    }
    const QRect free = QGuiApplication::primaryScreen()->availableGeometry();
    QWidget window;
    MainWindowFrame frame(window, settings);
    window.show();
    frame.applyDefaultMainWindowFrameIfNeeded();
    EXPECT_TRUE(turnUntil([&] { return window.isVisible() && free.contains(window.frameGeometry()); }))
        << window.frameGeometry().x() << ", " << window.frameGeometry().y() << ", " << window.frameGeometry().width()
        << " x " << window.frameGeometry().height();
}

TEST(FrameInside, MovesAndShrinksAFrameAsFarAsItMust) {
    const QRect free(0, 25, 1366, 743);
    EXPECT_EQ(frameInside({93, 100, 1180, 600}, free), QRect(93, 100, 1180, 600));
    EXPECT_EQ(frameInside({93, 100, 1180, 760}, free), QRect(93, 25, 1180, 743));
    EXPECT_EQ(frameInside({2000, 900, 1000, 700}, free), QRect(366, 68, 1000, 700));
    EXPECT_EQ(frameInside({-50, -10, 1000, 700}, free), QRect(0, 25, 1000, 700));
    EXPECT_EQ(frameInside({-500, 0, 1920, 1080}, free), free);
}

TEST(HasSavedMainWindowFrame, NeedsAKeyWithTheBeginningAndBothTexts) {
    for (const char* const key :
         {kFrameKey, "NSWindow Frame RouterWindow AppWindow", "NSWindow Frame AppWindowRouterWindow",
          "NSWindow Frame x.RouterWindow-9-AppWindow-17 and more"}) {
        InMemorySettings settings;
        EXPECT_FALSE(hasSavedMainWindowFrame(settings));
        settings.set("Corvel.appearanceMode", "light");
        settings.set(key, "");
        EXPECT_TRUE(hasSavedMainWindowFrame(settings)) << key;
    }
}

TEST(HasSavedMainWindowFrame, IsNotMadeOfSeveralKeysOrOfOther) {
    InMemorySettings settings;
    for (const char* const key :
         {"NSWindow Frame RouterWindow", "NSWindow Frame AppWindow", "NSWindow Frame ", "RouterWindow AppWindow",
          "Old NSWindow Frame RouterWindow AppWindow", "NSWindow FrameRouterWindowAppWindow",
          "nswindow frame RouterWindow AppWindow", "NSWindow Frame routerwindow appwindow", ""}) {
        settings.set(key, "NSWindow Frame RouterWindow AppWindow");
    }
    EXPECT_FALSE(hasSavedMainWindowFrame(settings));
}

}  // namespace
}  // namespace corvel::ui
