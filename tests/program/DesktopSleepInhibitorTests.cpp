#include "program/window/DesktopSleepInhibitor.hpp"

#include "tests/support/Deadline.hpp"
#include "tests/support/PrivateBus.hpp"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace corvel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const QString kScreenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString kPower = QStringLiteral("org.freedesktop.PowerManagement");

class DesktopSleepInhibitors : public ::testing::Test {
protected:
    ~DesktopSleepInhibitors() override { QDBusConnection::disconnectFromBus(QStringLiteral("test")); }

    /// A service that records its calls and returns the cookie 7.
    std::unique_ptr<tests::FakeBusService> makeService(const QString& name, const QString& path,
                                                       std::vector<std::string>& calls) {
        return std::make_unique<tests::FakeBusService>(bus, name, path, [&calls](const QDBusMessage& message) {
            const std::string first = message.arguments().value(0).toString().toStdString();
            calls.push_back(message.interface().toStdString() + "." + message.member().toStdString() + " " + first);
            return message.member() == QStringLiteral("Inhibit") ? message.createReply(QVariant::fromValue(quint32(7)))
                                                                 : message.createReply();
        });
    }

    template <typename Condition>
    [[nodiscard]] static bool runUntil(Condition condition) {
        const QDeadlineTimer deadline(tests::kDeadline);
        while (!condition() && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        }
        return condition();
    }

    int argumentCount = 1;
    char program[7] = "corvel";
    char* arguments[2] = {program, nullptr};
    const QCoreApplication application{argumentCount, arguments};
    const tests::PrivateBus bus;
    QDBusConnection connection =
        QDBusConnection::connectToBus(QString::fromStdString(bus.address()), QStringLiteral("test"));
    std::vector<std::string> screenCalls;
    std::vector<std::string> powerCalls;
};

TEST_F(DesktopSleepInhibitors, AskTheScreenSaverAndThePowerManagementAndTakeItBack) {
    const auto screen = makeService(kScreenSaver, QStringLiteral("/org/freedesktop/ScreenSaver"), screenCalls);
    const auto power = makeService(kPower, QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"), powerCalls);
    DesktopSleepInhibitor inhibitor(connection);
    inhibitor.inhibit();
    ASSERT_TRUE(runUntil([&] { return screenCalls.size() == 1 && powerCalls.size() == 1; }));
    inhibitor.release();
    ASSERT_TRUE(runUntil([&] { return screenCalls.size() == 2 && powerCalls.size() == 2; }));
    EXPECT_THAT(screenCalls,
                ElementsAre("org.freedesktop.ScreenSaver.Inhibit Corvel", "org.freedesktop.ScreenSaver.UnInhibit 7"));
    EXPECT_THAT(powerCalls, ElementsAre("org.freedesktop.PowerManagement.Inhibit.Inhibit Corvel",
                                        "org.freedesktop.PowerManagement.Inhibit.UnInhibit 7"));
}

TEST_F(DesktopSleepInhibitors, TakeBackWhatIsGrantedTooLate) {
    const auto screen = makeService(kScreenSaver, QStringLiteral("/org/freedesktop/ScreenSaver"), screenCalls);
    DesktopSleepInhibitor inhibitor(connection);
    inhibitor.inhibit();
    inhibitor.release();
    ASSERT_TRUE(runUntil([&] { return screenCalls.size() == 2; }));
    EXPECT_EQ(screenCalls[1], "org.freedesktop.ScreenSaver.UnInhibit 7");
    inhibitor.inhibit();
    ASSERT_TRUE(runUntil([&] { return screenCalls.size() == 3; }));
}

TEST_F(DesktopSleepInhibitors, DoWithoutTheServicesThatADesktopHasNot) {
    const auto power = makeService(kPower, QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"), powerCalls);
    DesktopSleepInhibitor inhibitor(connection);
    for (std::size_t count = 1; count <= 3; ++count) {
        inhibitor.inhibit();
        ASSERT_TRUE(runUntil([&] { return powerCalls.size() == 2 * count - 1; }));
        inhibitor.release();
        ASSERT_TRUE(runUntil([&] { return powerCalls.size() == 2 * count; }));
    }
    EXPECT_EQ(powerCalls[4], "org.freedesktop.PowerManagement.Inhibit.Inhibit Corvel");
}

TEST_F(DesktopSleepInhibitors, DoWithoutABus) {
    DesktopSleepInhibitor inhibitor{QDBusConnection(QStringLiteral("no such connection"))};
    inhibitor.inhibit();
    inhibitor.release();
    EXPECT_THAT(screenCalls, IsEmpty());
}

}  // namespace
}  // namespace corvel
