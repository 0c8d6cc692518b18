#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/DispatchQueue.hpp"

#include <memory>
#include <optional>

namespace corvel::hosts {

/// Notifies the main thread of changes, one notification at a time. Changes that occur while it handles one are merged
/// into one, so that a program that opens a hundred ports does not cause a hundred reloads. On the engine's queue only.
class SetupNotifications : public std::enable_shared_from_this<SetupNotifications> {
public:
    SetupNotifications(const std::shared_ptr<DispatchQueue>& queue, std::shared_ptr<DispatchQueue> mainQueue);

    /// Sets the receiver of notifications; null for none.
    void setHandler(MIDIHost::NotificationHandler handler);
    [[nodiscard]] bool hasHandler() const { return handler_ != nullptr; }

    /// Adds a change to the next notification.
    void add(const MIDINotification& notification);
    /// Sends the notification now, or when the main thread has handled the previous one.
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
