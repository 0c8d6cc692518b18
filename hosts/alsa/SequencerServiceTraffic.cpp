#include "hosts/alsa/SequencerService.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace corvel::hosts {

namespace {

/// Bytes that may wait between reading and routing: far more than any burst, far less than would hurt.
constexpr std::size_t kMaximumArrivedBytes = std::size_t{64} << 20U;

/// What an arrival costs beyond its bytes, so that short messages count as what they take.
constexpr std::size_t kArrivalOverhead = 64;

/// Events in one read that took long enough to look once more before going on.
constexpr int kLongRead = 32;

/// Arrivals handed on in one go, before other work of the queue gets its turn.
constexpr int kArrivalsPerTurn = 16;

/// Sends between two looks for input. The sequencer keeps 2,000 events for a client, and throws all of them away when
/// one more comes: a burst must not wait behind the sends that it causes.
constexpr unsigned kSendsPerLook = 8;

}  // namespace

// Input

void SequencerService::handleReady() {
    // The delivery here stands for the one that reading would post, and saves a round of the queue.
    const bool isPosted = std::exchange(isDeliveryScheduled_, true);
    try {
        readWaitingEvents();
    } catch (...) {
        isDeliveryScheduled_ = isPosted;
        throw;
    }
    if (!isPosted) {
        deliverArrivals();
    }
}

void SequencerService::readWaitingEvents() {
    int count = 0;
    while (client_ && isReadable_ && arrivedBytes_ < kMaximumArrivedBytes) {
        int status = 0;
        if (const snd_seq_event_t* event = client_->read(status)) {
            accept(*event);
            ++count;
            if (!client_->hasBufferedEvents()) {
                // One read takes all that waits. Only after a long one is it likely that more has come in the meantime.
                if (count < kLongRead) {
                    return;
                }
                count = 0;
            }
        } else if (status == -ENOSPC) {
            noteOverrun();
        } else if (status == -EAGAIN) {
            return;
        } else {
            isReadable_ = false;
            queue_->unwatch(client_->descriptor());
            diagnose("MIDI can no longer be read: " + std::system_category().message(-status));
            return;
        }
    }
}

void SequencerService::accept(const snd_seq_event_t& event) {
    const PortAddress sender{event.source.client, event.source.port};
    if (event.dest.port == announcementPort_) {
        if (sender.client != SND_SEQ_CLIENT_SYSTEM) {
            return;
        }
        if (announcements_.empty()) {
            post(&SequencerService::handleAnnouncements);
        }
        announcements_.push_back({event.type, {event.data.addr.client, event.data.addr.port}});
        return;
    }
    if (event.dest.port != inputPort_ || sender.client == SND_SEQ_CLIENT_SYSTEM) {
        return;
    }
    // A source that is disconnected and not yet settled counts: it may be in the middle of a reload.
    const auto subscription = subscriptions_.find(sender);
    if (subscription == subscriptions_.end()) {
        return;
    }
    if (std::optional<MIDIBytes> bytes = decoder_.decode(event)) {
        arrivedBytes_ += bytes->size() + kArrivalOverhead;
        if (arrivals_.full()) {
            arrivals_.set_capacity(2 * arrivals_.capacity());
        }
        arrivals_.push_back({subscription->second.connection, *std::move(bytes)});
        scheduleDelivery();
    }
}

void SequencerService::scheduleDelivery() {
    if (!std::exchange(isDeliveryScheduled_, true)) {
        post(&SequencerService::deliverArrivals);
    }
}

void SequencerService::deliverArrivals() {
    isDeliveryScheduled_ = false;
    for (int count = 0; count < kArrivalsPerTurn && !arrivals_.empty() && receiveHandler_; ++count) {
        const Arrival arrival = std::move(arrivals_.front());
        arrivals_.pop_front();
        arrivedBytes_ -= arrival.bytes.size() + kArrivalOverhead;
        const std::array<std::span<const std::uint8_t>, 1> packets{arrival.bytes};
        receiveHandler_(packets, arrival.connection);
    }
    if (!arrivals_.empty()) {
        scheduleDelivery();
    }
}

void SequencerService::noteOverrun() {
    ++overrunCount_;
    diagnose("MIDI input overrun (" + std::to_string(overrunCount_) + " so far): messages were lost");
    // Announcements are lost with the rest, so the ports have to be looked at afresh.
    mayHaveMissedPorts_ = true;
    notify({.messageID = MIDINotification::kSetupChanged});
}

// Output

MIDIStatus SequencerService::send(MIDIObjectRef destination, std::span<const std::uint8_t> packet) {
    catchUp();
    const Endpoint* endpoint = registry_.find(destination);
    if (endpoint == nullptr || endpoint->direction != MIDIEndpointDirection::destination || !client_) {
        return -ENODEV;
    }
    const PortAddress address = endpoint->address;
    if (endpoint->card >= 0) {
        if (const MIDIStatus status = subscribeOutput(*endpoint); status != kMIDISuccess) {
            return status;
        }
    }
    const MIDIStatus status = flow_.send(address, packet);
    if (flow_.isWaiting()) {
        scheduleSendingWaiting();
    }
    return status;
}

/// A hardware port takes nothing while nobody subscribes to it; once subscribed, it stays open.
MIDIStatus SequencerService::subscribeOutput(const Endpoint& destination) {
    const auto [entry, isNew] = outputSubscriptions_.try_emplace(destination.address, kMIDISuccess);
    if (isNew) {
        entry->second = std::min(0, client_->subscribeTo(outputPort_, destination.address));
    }
    return entry->second;
}

void SequencerService::retryFailedOutputs() {
    std::erase_if(outputSubscriptions_, [](const auto& entry) { return entry.second != kMIDISuccess; });
}

void SequencerService::scheduleSendingWaiting() {
    if (std::exchange(isSendingScheduled_, true)) {
        return;
    }
    queue_->asyncAfter(kRetryDelay, std::make_shared<DispatchWorkItem>([weakService = weak_from_this()] {
                           if (const auto service = weakService.lock()) {
                               service->sendWaiting();
                           }
                       }));
}

void SequencerService::sendWaiting() {
    isSendingScheduled_ = false;
    if (!client_) {
        return;
    }
    // What waits for a port that is gone must not go to the one that has its address now.
    readWaitingEvents();
    catchUp();
    flow_.sendWaiting();
    if (flow_.lateFailureCount() > reportedLateFailures_) {
        diagnose(std::to_string(flow_.lateFailureCount() - reportedLateFailures_) +
                 " waiting MIDI messages could not be sent");
        reportedLateFailures_ = flow_.lateFailureCount();
    }
    if (flow_.isWaiting()) {
        scheduleSendingWaiting();
    }
}

int SequencerService::sendDirectly(const PortAddress& destination, snd_seq_event_t& event) {
    if (hasEnded(destination)) {
        return -ENODEV;
    }
    const int result = client_->sendDirectly(destination, event);
    if (++sendsSinceLook_ >= kSendsPerLook) {
        sendsSinceLook_ = 0;
        readWaitingEvents();
    }
    return result;
}

std::optional<InputRoom> SequencerService::inputRoom(int client) {
    return client_->inputRoom(client);
}

std::chrono::steady_clock::time_point SequencerService::now() const {
    return std::chrono::steady_clock::now();
}

}  // namespace corvel::hosts
