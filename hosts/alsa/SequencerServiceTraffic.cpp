#include "hosts/alsa/SequencerService.hpp"

#include <absl/cleanup/cleanup.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace corvel::hosts {

namespace {

/// Maximum number of events read before they are delivered: the size of the sequencer's buffer for a client.
constexpr int kMaxReadEvents = 2'000;

/// Maximum number of bytes between reading and delivery: more than any burst needs, 60,000 notes. Beyond it the events
/// stay in the sequencer, so that notes are not late by more than this in a flood.
constexpr std::size_t kMaxArrivedBytes = std::size_t{4} << 20U;

/// Memory of an arrival besides its bytes, so that short messages are counted too.
constexpr std::size_t kArrivalOverhead = 64;

/// A read of this many events took long enough for more to have arrived.
constexpr int kLongRead = 32;

/// Number of sends between two reads. If one event more arrives than a client has room for, the sequencer drops all of
/// the client's events, so a burst must not wait behind the sends that it causes.
constexpr std::size_t kSendsPerLook = 8;

/// Sends between two looks at the clock for the share of other threads: a fraction of a millisecond's work.
constexpr std::size_t kSendsPerShare = 64;

}  // namespace

// Input

void SequencerService::readForThisRound() {
    // The loop runs a turn at the end of the round.
    isTurnScheduled_ = true;
    sendsSinceLook_ = 0;
    readWaitingEvents();
}

void SequencerService::readWaitingEvents() {
    int status = 0;
    int countOfRead = 0;
    for (int count = 0; isReadable_ && count < kMaxReadEvents && arrivedBytes_ < kMaxArrivedBytes; ++count) {
        const snd_seq_event_t* const event = client_->read(status);
        if (event == nullptr) {
            break;
        }
        accept(*event);
        ++countOfRead;
        if (!client_->hasBufferedEvents()) {
            // One read takes all waiting events. Only after a long one have more probably arrived meanwhile.
            if (countOfRead < kLongRead) {
                break;
            }
            countOfRead = 0;
        }
    }
    if (status == -ENOSPC) {
        noteOverrun();
    } else if (status < 0 && status != -EAGAIN) {
        noteReadFailure(status);
    }
    if (!arrivals_.empty() || !announcements_.empty() || notifications_->isWaiting()) {
        scheduleTurn();
    }
}

void SequencerService::accept(const snd_seq_event_t& event) {
    if (event.dest.port == announcementPort_) {
        acceptAnnouncement(event);
        return;
    }
    if (event.dest.port != inputPort_ || event.source.client == SND_SEQ_CLIENT_SYSTEM) {
        return;
    }
    // A source that is disconnected but not yet settled still counts, because it may be in the middle of a reload.
    const auto subscription = subscriptions_.find({event.source.client, event.source.port});
    if (subscription == subscriptions_.end()) {
        return;
    }
    if (std::optional<MIDIBytes> bytes = decoder_.decode(event)) {
        arrivedBytes_ += bytes->size() + kArrivalOverhead;
        arrivals_.push({subscription->second.connection, *std::move(bytes)});
        ++readCount_;
        ++subscription->second.arrivalCount;
    }
}

void SequencerService::acceptAnnouncement(const snd_seq_event_t& event) {
    if (event.source.client != SND_SEQ_CLIENT_SYSTEM) {
        return;
    }
    Announcement announcement{.type = event.type, .address = {}, .arrivalsBefore = readCount_};
    switch (event.type) {
        case SND_SEQ_EVENT_PORT_START:
        case SND_SEQ_EVENT_PORT_EXIT:
        case SND_SEQ_EVENT_PORT_CHANGE:
        case SND_SEQ_EVENT_CLIENT_CHANGE:
            announcement.address = {event.data.addr.client, event.data.addr.port};
            break;
        case SND_SEQ_EVENT_PORT_UNSUBSCRIBED:
            if (event.data.connect.dest.client != client_->number()) {
                return;
            }
            announcement.address = {event.data.connect.sender.client, event.data.connect.sender.port};
            break;
        default:
            // Clients appear and disappear with their ports; only reloads of this program subscribe.
            return;
    }
    if (announcement.address.client != client_->number() && announcement.address.client != SND_SEQ_CLIENT_SYSTEM) {
        announcements_.push_back(announcement);
    }
}

void SequencerService::noteOverrun() {
    ++overrunCount_;
    diagnose("MIDI input overrun (" + std::to_string(overrunCount_) + " so far): messages were lost");
    if (overrunWarning_.noteOverrun(std::chrono::steady_clock::now())) {
        warnOfOverruns();
    }
    // Announcements are lost too, so all ports must be examined again.
    mayHaveMissedPorts_ = true;
    notifications_->add({.messageID = MIDINotification::kSetupChanged});
}

void SequencerService::warnOfOverruns() {
    const std::optional<std::string> name = mostActiveSourceName();
    const std::string cause = name ? '"' + *name + "\" sends more" : "more MIDI arrives";
    diagnose("Notes were lost: " + cause + " than Corvel can take in", kMIDIMessagesLost);
}

std::optional<std::string> SequencerService::mostActiveSourceName() {
    std::uint64_t all = 0;
    const Subscription* most = nullptr;
    for (const auto& [address, subscription] : subscriptions_) {
        all += subscription.arrivalCount;
        if (most == nullptr || subscription.arrivalCount > most->arrivalCount) {
            most = &subscription;
        }
    }
    if (most == nullptr || most->arrivalCount * 2 <= all) {
        return std::nullopt;
    }
    const std::shared_ptr<const MIDISetup> setup = registry_.setup();
    const auto found = std::ranges::find(setup->sources, most->source, &MIDIEndpointRecord::ref);
    return found != setup->sources.end() ? found->displayName : std::nullopt;
}

void SequencerService::scheduleTurn() {
    if (!std::exchange(isTurnScheduled_, true)) {
        post(&SequencerService::runTurn);
    }
}

void SequencerService::runTurn() {
    isTurnScheduled_ = false;
    deliver(kArrivalsPerTurn);
    applyAnnouncements(deliveredCount_);
    if (!arrivals_.empty() || !announcements_.empty()) {
        scheduleTurn();
    }
}

void SequencerService::deliver(std::size_t limit) {
    if (isDelivering_) {
        return;
    }
    isDelivering_ = true;
    const absl::Cleanup end = [this] { isDelivering_ = false; };
    while (limit > 0 && !arrivals_.empty()) {
        const std::span<MIDIArrival> waiting = arrivals_.front();
        const std::span<MIDIArrival> next = waiting.first(std::min({limit, waiting.size(), kArrivalsPerTurn}));
        const absl::Cleanup pop = [this, next] {
            for (const MIDIArrival& arrival : next) {
                arrivedBytes_ -= arrival.bytes.size() + kArrivalOverhead;
            }
            deliveredCount_ += next.size();
            arrivals_.pop(next.size());
        };
        limit -= next.size();
        if (receiveHandler_) {
            receiveHandler_(next);
        }
    }
}

void SequencerService::deliverUntil(std::uint64_t count) {
    if (deliveredCount_ < count) {
        deliver(count - deliveredCount_);
    }
}

void SequencerService::keepMIDIGoing() {
    readWaitingEvents();
    queue_->shareProcessor();
    // After an overrun the ports must be examined first; the caller may be in the middle of that.
    if (!mayHaveMissedPorts_) {
        deliver(kArrivalsPerTurn);
    }
}

// Output

void SequencerService::send(std::span<MIDISend> messages) {
    // A service must not deliver inside a send.
    const bool wasDelivering = std::exchange(isDelivering_, true);
    // With several messages the last ones are sent much later than the start of the round.
    const SteadyTime now = messages.size() > 1 ? std::chrono::steady_clock::now() : queue_->roundTime();
    for (MIDISend& message : messages) {
        prepareSend(message, now);
    }
    flow_.flush(now);
    if (flow_.isWaiting()) {
        scheduleSendingWaiting();
    }
    sendsSinceLook_ += messages.size();
    if (sendsSinceLook_ >= kSendsPerLook) {
        sendsSinceShare_ += std::exchange(sendsSinceLook_, 0);
        readWaitingEvents();
    }
    if (sendsSinceShare_ >= kSendsPerShare) {
        sendsSinceShare_ = 0;
        queue_->shareProcessor();
    }
    isDelivering_ = wasDelivering;
}

void SequencerService::prepareSend(MIDISend& message, SteadyTime now) {
    if (mayHaveMissedPorts_ && client_) {
        // The references may belong to ports that have been replaced without an announcement.
        scan();
    }
    const Endpoint* const endpoint = registry_.find(message.destination);
    if (endpoint == nullptr || endpoint->direction != MIDIEndpointDirection::destination || !client_ ||
        (!announcements_.empty() && hasEnded(endpoint->address))) {
        message.status = -ENODEV;
        return;
    }
    const PortAddress address = endpoint->address;
    if (endpoint->isHardware) {
        message.status = subscribeOutput(address);
        if (message.status != kMIDISuccess) {
            return;
        }
    }
    flow_.send(address, message.bytes, message.status, now);
}

/// A hardware port discards everything while nothing subscribes to it. Once subscribed, it stays open.
MIDIStatus SequencerService::subscribeOutput(const PortAddress& destination) {
    const auto [entry, isNew] = outputSubscriptions_.try_emplace(destination, kMIDISuccess);
    if (isNew) {
        entry->second = std::min(0, client_->subscribeTo(outputPort_, destination));
    }
    return entry->second;
}

void SequencerService::scheduleSendingWaiting() {
    if (!std::exchange(isSendingScheduled_, true)) {
        postAfter(kRetryDelay, &SequencerService::sendWaiting);
    }
}

void SequencerService::sendWaiting() {
    isSendingScheduled_ = false;
    if (!client_) {
        return;
    }
    // Events for a closed port must not go to a new port with the same address.
    readWaitingEvents();
    for (const Announcement& announcement : announcements_) {
        if (announcement.type == SND_SEQ_EVENT_PORT_EXIT) {
            flow_.forget(announcement.address);
        }
    }
    flow_.sendWaiting(std::chrono::steady_clock::now());
    if (flow_.lateFailureCount() > reportedLateFailures_) {
        diagnose(std::to_string(flow_.lateFailureCount() - reportedLateFailures_) +
                 " waiting MIDI messages could not be sent");
        reportedLateFailures_ = flow_.lateFailureCount();
    }
    if (flow_.isWaiting()) {
        scheduleSendingWaiting();
    }
}

std::size_t SequencerService::send(std::span<snd_seq_event_t> events, int& status) {
    return client_->send(events, status);
}

std::optional<InputPool> SequencerService::inputPool(int client) {
    return client_->inputPool(client);
}

}  // namespace corvel::hosts
