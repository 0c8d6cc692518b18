#include "program/RealtimeKit.hpp"

#include "tests/support/Deadline.hpp"
#include "tests/support/PrivateBus.hpp"

#include <QCoreApplication>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace corvel {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const QString kService = QStringLiteral("org.freedesktop.RealtimeKit1");

/// A grant as the service saw it, with the limits that the program had set.
struct Grant {
    qulonglong thread = 0;
    uint priority = 0;
    rlim_t alarm = 0;
    rlim_t limit = 0;

    bool operator==(const Grant&) const = default;
};

void PrintTo(const Grant& grant, std::ostream* stream) {
    *stream << grant.thread << " at " << grant.priority << ", " << grant.alarm << " of " << grant.limit;
}

class RealtimeKits : public ::testing::Test {
protected:
    /// Starts the service with this offer; it answers a request with `error`, if given.
    void startService(int priority, qlonglong time, const QString& error = {}) {
        service.emplace(
            bus, kService, QStringLiteral("/org/freedesktop/RealtimeKit1"),
            [this, priority, time, error](const QDBusMessage& message) {
                if (message.member() == QStringLiteral("Get")) {
                    const bool isPriority = message.arguments().at(1) == QStringLiteral("MaxRealtimePriority");
                    const QVariant value = isPriority ? QVariant(priority) : QVariant(time);
                    return message.createReply(QVariant::fromValue(QDBusVariant(value)));
                }
                rlimit limits{};
                ::getrlimit(RLIMIT_RTTIME, &limits);
                grants.push_back({message.arguments().at(0).toULongLong(), message.arguments().at(1).toUInt(),
                                  limits.rlim_cur, limits.rlim_max});
                return error.isEmpty()
                           ? message.createReply()
                           : message.createErrorReply(QStringLiteral("org.freedesktop.DBus.Error.AccessDenied"), error);
            });
    }

    [[nodiscard]] hosts::RealtimeAnswer ask(RealtimeKit& kit) {
        std::promise<hosts::RealtimeAnswer> promise;
        std::future<hosts::RealtimeAnswer> answer = promise.get_future();
        kit.request(4711, 20, [&promise](hosts::RealtimeAnswer given) { promise.set_value(std::move(given)); });
        const QDeadlineTimer deadline(tests::kDeadline);
        while (answer.wait_for(0s) != std::future_status::ready && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        }
        return answer.get();
    }

    int argumentCount = 1;
    char program[7] = "corvel";
    char* arguments[2] = {program, nullptr};
    const QCoreApplication application{argumentCount, arguments};
    const tests::PrivateBus bus;
    std::vector<Grant> grants;
    std::optional<tests::FakeBusService> service;
};

TEST_F(RealtimeKits, GrantsTheThreadWhatItOffersUnderTheLimitThatItDemands) {
    startService(15, 200'000);
    RealtimeKit kit(bus.address());
    const hosts::RealtimeAnswer answer = ask(kit);
    EXPECT_EQ(answer.priority, 15);
    EXPECT_EQ(answer.reason, "RealtimeKit");
    EXPECT_THAT(grants, ElementsAre(Grant{4711, 15, 100'000, 200'000}));
}

TEST_F(RealtimeKits, GrantsNoMoreThanWasAskedFor) {
    startService(99, 200'000);
    RealtimeKit kit(bus.address());
    EXPECT_EQ(ask(kit).priority, 20);
    EXPECT_EQ(ask(kit).priority, 20) << "a second time too";
}

TEST_F(RealtimeKits, GivesTheReasonOfARefusal) {
    startService(20, 200'000, QStringLiteral("Operation not\npermitted"));
    RealtimeKit kit(bus.address());
    const hosts::RealtimeAnswer answer = ask(kit);
    EXPECT_EQ(answer.priority, 0);
    EXPECT_EQ(answer.reason, "RealtimeKit: Operation not permitted");
}

TEST_F(RealtimeKits, IsNotAskedWhereItOffersNothing) {
    startService(0, 200'000);
    RealtimeKit kit(bus.address());
    EXPECT_EQ(ask(kit).reason, "RealtimeKit: it offers none");
    EXPECT_THAT(grants, IsEmpty());
}

TEST_F(RealtimeKits, SaysThatItIsNotThere) {
    RealtimeKit kit(bus.address());
    const hosts::RealtimeAnswer answer = ask(kit);
    EXPECT_EQ(answer.priority, 0);
    EXPECT_THAT(answer.reason, StartsWith("RealtimeKit: The name org.freedesktop.RealtimeKit1 was not provided"));
}

TEST_F(RealtimeKits, SaysThatThereIsNoBus) {
    RealtimeKit kit("unix:path=/nowhere/bus");
    const hosts::RealtimeAnswer answer = ask(kit);
    EXPECT_EQ(answer.priority, 0);
    EXPECT_THAT(answer.reason, StartsWith("RealtimeKit: Failed to connect to socket /nowhere/bus"));
    startService(20, 200'000);
    RealtimeKit later(bus.address());
    EXPECT_EQ(ask(later).priority, 20) << "once there is one";
}

TEST_F(RealtimeKits, DoesNotHoldUpTheEndOfTheProgramWithoutAnAnswer) {
    bool isAsked = false;
    service.emplace(bus, kService, QStringLiteral("/org/freedesktop/RealtimeKit1"), [&isAsked](const QDBusMessage&) {
        isAsked = true;
        return QDBusMessage();
    });
    std::optional<RealtimeKit> kit(std::in_place, bus.address());
    kit->request(4711, 20, [](const hosts::RealtimeAnswer& answer) { ADD_FAILURE() << answer.reason; });
    const QDeadlineTimer deadline(tests::kDeadline);
    while (!isAsked && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    ASSERT_TRUE(isAsked);
    const auto began = std::chrono::steady_clock::now();
    kit.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - began, 1s);
}

}  // namespace
}  // namespace corvel
