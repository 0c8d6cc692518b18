#pragma once

#include "tests/support/ChildProcess.hpp"
#include "tests/support/Deadline.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace corvel::tests {

/// A separate message bus for a test, without other users.
class PrivateBus {
public:
    PrivateBus() {
        if (!daemon_.waitForOutput("\n", kDeadline)) {
            throw std::runtime_error("the message bus does not start: " + daemon_.standardError());
        }
        address_ = daemon_.standardOutput().substr(0, daemon_.standardOutput().find('\n'));
    }

    [[nodiscard]] const std::string& address() const { return address_; }

private:
    const TemporaryFolder folder_;
    ChildProcess daemon_{{"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address",
                          "--address=unix:dir=" + folder_.path().string()}};
    std::string address_;
};

/// A service on a bus. It answers each message with the result of a function: a reply, an error, or, if it returns
/// none, the default message. Answers while the event loop of its thread runs.
class FakeBusService : public QDBusVirtualObject {
public:
    using Handler = std::function<QDBusMessage(const QDBusMessage&)>;

    FakeBusService(const PrivateBus& bus, const QString& service, const QString& path, Handler handler)
        : service_(service),
          handler_(std::move(handler)),
          connection_(QDBusConnection::connectToBus(QString::fromStdString(bus.address()), service)) {
        if (!connection_.registerVirtualObject(path, this) || !connection_.registerService(service)) {
            throw std::runtime_error("the service cannot be registered");
        }
    }
    ~FakeBusService() override { QDBusConnection::disconnectFromBus(service_); }
    Q_DISABLE_COPY_MOVE(FakeBusService)

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const QDBusMessage reply = handler_(message);
        return reply.type() == QDBusMessage::InvalidMessage || connection.send(reply);
    }

private:
    const QString service_;
    const Handler handler_;
    QDBusConnection connection_;
};

}  // namespace corvel::tests
