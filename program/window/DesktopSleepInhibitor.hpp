#pragma once

#include "program/window/SleepInhibitor.hpp"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QtGlobal>

#include <array>
#include <optional>
#include <utility>

namespace corvel {

/// A desktop's service that prevents blanking or sleeping. `Inhibit` returns a number, with which `UnInhibit` ends the
/// request. The service also ends it when the program leaves the bus.
class InhibitingService {
public:
    struct Name {
        QString service;
        QString path;
        QString interface;
    };

    InhibitingService(QDBusConnection bus, Name name) : bus_(std::move(bus)), name_(std::move(name)) {}
    InhibitingService(const InhibitingService&) = delete;
    InhibitingService& operator=(const InhibitingService&) = delete;

    void setWanted(bool isWanted);

private:
    void ask();
    void takeBack();

    QDBusConnection bus_;
    const Name name_;
    bool isWanted_ = false;
    /// Whether an answer is pending.
    bool isAsked_ = false;
    std::optional<quint32> cookie_;
    /// Receives the answers; there are none after it is destroyed.
    QObject context_;
};

/// Uses the session's services for the screen and for power, as far as the desktop has them. Main thread only.
class DesktopSleepInhibitor final : public SleepInhibitor {
public:
    explicit DesktopSleepInhibitor(const QDBusConnection& bus = QDBusConnection::sessionBus());

    void inhibit() override;
    void release() override;

private:
    InhibitingService screenSaver_;
    InhibitingService powerManagement_;
};

}  // namespace corvel
