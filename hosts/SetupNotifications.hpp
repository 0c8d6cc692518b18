#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/DispatchQueue.hpp"

#include <memory>
#include <optional>

namespace corvel::hosts {

/// Tells the main thread of changes, one notification at a time: those that come while it handles one become one. A
/// program that opens a hundred ports must not cause a hundred reloads. On the engine's queue only.
class SetupNotifications : public std::enable_shared_from_this<SetupNotifications> {
public:
    SetupNotifications(std::shared_ptr<DispatchQueue> queue, std::shared_ptr<DispatchQueue> mainQueue);

    /// Whom to tell; nobody when null.
    void setHandler(MIDIHost::NotificationHandler handler);

    /// Notes a change, for the next `send`.
    void add(const MIDINotification& notification);
    /// Tells of what was noted, now or when the main thread has handled the notification before.
    void send();

    [[nodiscard]] bool isWaiting() const { return next_.has_value(); }

private:
    const std::weak_ptr<DispatchQueue> queue_;
    const std::shared_ptr<DispatchQueue> mainQueue_;
    MIDIHost::NotificationHandler handler_;
    std::optional<MIDINotification> next_;
    bool isHandling_ = false;
};

}  // namespace corvel::hosts
