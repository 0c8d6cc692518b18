#pragma once

#include "program/window/SleepInhibitor.hpp"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QtGlobal>

#include <array>
#include <optional>

namespace corvel {

/// A desktop's service that takes requests against blanking or sleeping: `Inhibit` gives a number by which `UnInhibit`
/// takes the request back. The service itself takes it back when the program leaves the bus.
class InhibitingService {
public:
    struct Name {
        QString service;
        QString path;
        QString interface;
    };

    InhibitingService(const QDBusConnection& bus, Name name) : bus_(bus), name_(std::move(name)) {}
    InhibitingService(const InhibitingService&) = delete;
    InhibitingService& operator=(const InhibitingService&) = delete;

    void setWanted(bool isWanted);

private:
    void ask();
    void takeBack();

    QDBusConnection bus_;
    const Name name_;
    bool isWanted_ = false;
    /// Whether an answer is on its way.
    bool isAsked_ = false;
    std::optional<quint32> cookie_;
    /// Receives answers; none come once it is gone.
    QObject context_;
};

/// Asks the session's services for the screen and for power, as far as the desktop has them. On the main thread.
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
