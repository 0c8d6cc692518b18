#include "program/RealtimeKit.hpp"

#include "core/support/ApplicationIdentifier.hpp"
#include "hosts/RealtimeAlarm.hpp"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QString>
#include <QVariant>
#include <QtGlobal>

#include <algorithm>
#include <exception>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace corvel {

namespace {

constexpr QLatin1String kService("org.freedesktop.RealtimeKit1");
constexpr QLatin1String kPath("/org/freedesktop/RealtimeKit1");

constexpr std::string_view kName = "RealtimeKit";

/// Pause between two checks for an answer.
constexpr std::chrono::milliseconds kLookPause{5};

/// What RealtimeKit refused, or why it could not be asked.
class Refusal : public std::exception {
public:
    explicit Refusal(const QString& reason) : text_(std::string(kName) + ": " + reason.simplified().toStdString()) {}
    [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

/// A separate connection to a bus.
class Bus {
public:
    Bus(const std::string& address, std::stop_token stop)
        : name_(QString::fromLatin1(kApplicationIdentifier.data(), kApplicationIdentifier.size()) +
                QStringLiteral(".realtime")),
          connection_(QDBusConnection::connectToBus(QString::fromStdString(address), name_)),
          stop_(std::move(stop)) {
        if (!connection_.isConnected()) {
            const QString reason = connection_.lastError().message();
            // Otherwise the next connection of this name would be this failed one.
            QDBusConnection::disconnectFromBus(name_);
            throw Refusal(reason);
        }
    }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;
    ~Bus() { QDBusConnection::disconnectFromBus(name_); }

    /// The service's answer to a method call.
    [[nodiscard]] QDBusMessage call(const QString& interface, const QString& method, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(kService, kPath, interface, method);
        message.setArguments(arguments);
        const QDBusPendingCall pending =
            connection_.asyncCall(message, static_cast<int>(RealtimeKit::kAnswerLimit.count()));
        while (!pending.isFinished()) {
            if (stop_.stop_requested()) {
                throw Refusal(QStringLiteral("the program ends"));
            }
            std::this_thread::sleep_for(kLookPause);
        }
        if (pending.isError()) {
            throw Refusal(pending.error().message());
        }
        return pending.reply();
    }

    [[nodiscard]] qlonglong property(const QString& name) {
        const QDBusMessage reply =
            call(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"), {QString(kService), name});
        return reply.arguments().value(0).value<QDBusVariant>().variant().toLongLong();
    }

private:
    const QString name_;
    QDBusConnection connection_;
    const std::stop_token stop_;
};

int obtain(Bus&& bus, pid_t thread, int wanted) {
    const qlonglong offered = bus.property(QStringLiteral("MaxRealtimePriority"));
    const qlonglong time = bus.property(QStringLiteral("RTTimeUSecMax"));
    if (offered < 1 || time < 1) {
        throw Refusal(QStringLiteral("it offers none"));
    }
    if (!hosts::RealtimeAlarm::limit(std::chrono::microseconds(time))) {
        throw Refusal(QStringLiteral("the limit that it demands cannot be set"));
    }
    const int priority = static_cast<int>(std::min<qlonglong>(wanted, offered));
    static_cast<void>(bus.call(
        kService, QStringLiteral("MakeThreadRealtime"),
        {QVariant::fromValue(static_cast<qulonglong>(thread)), QVariant::fromValue(static_cast<uint>(priority))}));
    return priority;
}

}  // namespace

std::string RealtimeKit::systemBusAddress() {
    const std::string named = qgetenv("DBUS_SYSTEM_BUS_ADDRESS").toStdString();
    return named.empty() ? "unix:path=/var/run/dbus/system_bus_socket" : named;
}

void RealtimeKit::request(pid_t thread, int priority, const std::function<void(hosts::RealtimeAnswer)>& answer) {
    const auto run = [address = busAddress_, thread, priority, answer](const std::stop_token& stop) {
        hosts::RealtimeAnswer result;
        try {
            result = {obtain(Bus(address, stop), thread, priority), std::string(kName)};
        } catch (const Refusal& refusal) {
            result = {0, refusal.what()};
        }
        if (!stop.stop_requested()) {
            answer(result);
        }
    };
    try {
        thread_ = std::jthread(run);
    } catch (const std::system_error& error) {
        answer({0, std::string(kName) + ": " + error.what()});
    }
}

}  // namespace corvel
