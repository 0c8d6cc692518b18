#include "program/window/DesktopSleepInhibitor.hpp"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace corvel {

void InhibitingService::setWanted(bool isWanted) {
    isWanted_ = isWanted;
    if (isAsked_) {
        // The answer decides what remains to be done.
        return;
    }
    if (isWanted && !cookie_) {
        ask();
    } else if (!isWanted && cookie_) {
        takeBack();
    }
}

void InhibitingService::ask() {
    QDBusMessage request =
        QDBusMessage::createMethodCall(name_.service, name_.path, name_.interface, QStringLiteral("Inhibit"));
    request.setArguments({QStringLiteral("Corvel"), QStringLiteral("MIDI is routed on the full screen")});
    // Not started, because a desktop without this service does not blank the screen through it either.
    request.setAutoStartService(false);
    isAsked_ = true;
    auto* const answer = new QDBusPendingCallWatcher(bus_.asyncCall(request), &context_);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, &context_, [this, answer] {
        answer->deleteLater();
        isAsked_ = false;
        const QDBusPendingReply<quint32> reply = *answer;
        if (reply.isError()) {
            return;
        }
        cookie_ = reply.value();
        if (!isWanted_) {
            takeBack();
        }
    });
}

void InhibitingService::takeBack() {
    QDBusMessage request =
        QDBusMessage::createMethodCall(name_.service, name_.path, name_.interface, QStringLiteral("UnInhibit"));
    request.setArguments({*std::exchange(cookie_, std::nullopt)});
    bus_.send(request);
}

DesktopSleepInhibitor::DesktopSleepInhibitor(const QDBusConnection& bus)
    : screenSaver_(bus, {QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("/org/freedesktop/ScreenSaver"),
                         QStringLiteral("org.freedesktop.ScreenSaver")}),
      powerManagement_(bus, {QStringLiteral("org.freedesktop.PowerManagement"),
                             QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"),
                             QStringLiteral("org.freedesktop.PowerManagement.Inhibit")}) {}

void DesktopSleepInhibitor::inhibit() {
    screenSaver_.setWanted(true);
    powerManagement_.setWanted(true);
}

void DesktopSleepInhibitor::release() {
    screenSaver_.setWanted(false);
    powerManagement_.setWanted(false);
}

}  // namespace corvel
