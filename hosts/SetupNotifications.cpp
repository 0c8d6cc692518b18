#include "hosts/SetupNotifications.hpp"

#include <utility>

namespace corvel::hosts {

SetupNotifications::SetupNotifications(const std::shared_ptr<DispatchQueue>& queue,
                                       std::shared_ptr<DispatchQueue> mainQueue)
    : queue_(queue), mainQueue_(std::move(mainQueue)) {}

void SetupNotifications::setHandler(MIDIHost::NotificationHandler handler) {
    handler_ = std::move(handler);
}

void SetupNotifications::add(const MIDINotification& notification) {
    next_ = next_ ? MIDINotification{.messageID = MIDINotification::kSetupChanged} : notification;
}

void SetupNotifications::send() {
    if (isHandling_ || !next_) {
        return;
    }
    const MIDINotification notification = *std::exchange(next_, std::nullopt);
    if (!handler_) {
        return;
    }
    isHandling_ = true;
    mainQueue_->async([handler = handler_, notification, weakThis = weak_from_this(), weakQueue = queue_] {
        handler(notification);
        // Posted, so that it runs after what the handler has posted there.
        if (const auto queue = weakQueue.lock()) {
            queue->async([weakThis] {
                if (const auto self = weakThis.lock()) {
                    self->isHandling_ = false;
                    self->send();
                }
            });
        }
    });
}

}  // namespace corvel::hosts
