#include <QApplication>
#include <QString>
#include <gtest/gtest.h>

/// Runs tests of views: with an application object, without a display, on a screen with room for the window.
int main(int argumentCount, char** arguments) {
    ::testing::InitGoogleTest(&argumentCount, arguments);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" CORVEL_TEST_SCREEN);
    }
    const QApplication application(argumentCount, arguments);
    return RUN_ALL_TESTS();
}
