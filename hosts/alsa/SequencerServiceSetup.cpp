#include "hosts/alsa/SequencerService.hpp"

#include "hosts/alsa/ObjectReference.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

namespace corvel::hosts {

namespace {

using namespace std::chrono_literals;

/// Time between two reads of a sound card that has no details yet, and the maximum number of reads before it is used
/// without them.
constexpr auto kCardRetryDelay = 5ms;
constexpr unsigned kMaxLooksAtCard = 40;

/// The number of ports examined, or announcements applied, between two reads of MIDI: each takes the kernel some
/// microseconds.
constexpr unsigned kStepsPerLook = 16;

}  // namespace

// The setup

std::shared_ptr<const MIDISetup> SequencerService::setup(MIDIListing listing) {
    // Failed output subscriptions may be tried again.
    std::erase_if(outputSubscriptions_, [](const auto& entry) { return entry.second != kMIDISuccess; });
    if (!client_) {
        // Without a client there are no announcements, so no port is known to be the same as before.
        registry_.clear();
        int status = 0;
        if (const std::unique_ptr<SequencerClient> visitor = SequencerClient::open(kClientName, status)) {
            visitor->forEachPort([this](const PortDescription& port) { registry_.update(port); });
        }
    } else {
        readWaitingEvents();
        if (listing == MIDIListing::afresh || mayHaveMissedPorts_) {
            scan();
            // A port that the scan found may have replaced one whose end is among these announcements.
            applyAnnouncements(readCount_);
        } else {
            // What a turn does not reach is announced by a notification of its own.
            deliver(kArrivalsPerTurn);
            applyAnnouncements(deliveredCount_);
        }
    }
    return registry_.setup([this] { keepMIDIGoing(); });
}

void SequencerService::scan() {
    const bool hasMissedPorts = std::exchange(mayHaveMissedPorts_, false);
    std::vector<PortDescription> ports;
    const std::size_t unreadyCount = unreadyPorts_.size();
    unsigned step = 0;
    client_->forEachPort([&](PortDescription&& port) {
        if (isReady(port)) {
            ports.push_back(std::move(port));
        }
        if (++step % kStepsPerLook == 0) {
            keepMIDIGoing();
        }
    });
    keepMIDIGoing();
    const std::vector<PortAddress> ended = registry_.replaceAll(ports, hasMissedPorts);
    for (const PortAddress& address : ended) {
        flow_.forget(address);
    }
    if ((!ended.empty() && !hasMissedPorts) || unreadyPorts_.size() < unreadyCount) {
        // The announcements of these ports, and further tries for their card, will find no change to notify.
        notifications_->add({.messageID = MIDINotification::kSetupChanged});
    }
    if (hasMissedPorts) {
        // A device that was removed and came back without an announcement looks the same, but is no longer subscribed.
        outputSubscriptions_.clear();
        for (auto& [address, subscription] : subscriptions_) {
            subscription.isCertain = false;
        }
    }
}

// Announcements

/// Applies the announcements that were read after at most so many arrivals; these are delivered first. Later ones wait
/// for a later turn: in a flood from changing ports there is always another one.
void SequencerService::applyAnnouncements(std::uint64_t arrivals) {
    for (unsigned step = 1; !announcements_.empty() && announcements_.front().arrivalsBefore <= arrivals; ++step) {
        deliverUntil(announcements_.front().arrivalsBefore);
        const Announcement announcement = announcements_.front();
        announcements_.pop_front();
        apply(announcement);
        if (step % kStepsPerLook == 0) {
            keepMIDIGoing();
        }
    }
    notifications_->send();
}

bool SequencerService::hasEnded(const PortAddress& address) const {
    return std::ranges::any_of(announcements_, [&](const Announcement& announcement) {
        return announcement.type == SND_SEQ_EVENT_PORT_EXIT && announcement.address == address;
    });
}

void SequencerService::apply(const Announcement& announcement) {
    const PortAddress& address = announcement.address;
    switch (announcement.type) {
        case SND_SEQ_EVENT_PORT_START:
            takeOverPort(address);
            break;
        case SND_SEQ_EVENT_PORT_EXIT:
            applyPortEnd(address);
            break;
        case SND_SEQ_EVENT_PORT_CHANGE:
            if (const std::optional<PortDescription> port = client_->port(address)) {
                registry_.update(*port);
            }
            notifications_->add({.messageID = MIDINotification::kPropertyChanged});
            break;
        case SND_SEQ_EVENT_CLIENT_CHANGE:
            applyClientChange(address.client);
            break;
        case SND_SEQ_EVENT_PORT_UNSUBSCRIBED:
            if (const auto subscription = subscriptions_.find(address); subscription != subscriptions_.end()) {
                subscription->second.isCertain = false;
            }
            break;
        default:
            break;
    }
}

void SequencerService::applyClientChange(int client) {
    const std::vector<PortAddress> ports = registry_.portsOf(client);
    for (const PortAddress& address : ports) {
        if (const std::optional<PortDescription> port = client_->port(address)) {
            registry_.update(*port);
        }
    }
    // Since version 6.5, Linux announces a change of every new program, which has no ports yet.
    if (!ports.empty()) {
        notifications_->add({.messageID = MIDINotification::kPropertyChanged});
    }
}

/// A sound card's ports are announced shortly before the card has its details, from which their IDs are made.
bool SequencerService::isReady(const PortDescription& port) {
    const bool isKnown = registry_.find(port.address, MIDIEndpointDirection::source) != nullptr ||
                         registry_.find(port.address, MIDIEndpointDirection::destination) != nullptr;
    if (port.card < 0 || isKnown || registry_.isCardComplete(port.card) ||
        ++unreadyPorts_[port.address] > kMaxLooksAtCard) {
        unreadyPorts_.erase(port.address);
        return true;
    }
    if (!std::exchange(isRetryScheduled_, true)) {
        postAfter(kCardRetryDelay, &SequencerService::retryPorts);
    }
    return false;
}

void SequencerService::retryPorts() {
    isRetryScheduled_ = false;
    for (const auto& [address, looks] : std::map(unreadyPorts_)) {
        takeOverPort(address);
    }
    notifications_->send();
}

void SequencerService::takeOverPort(const PortAddress& address) {
    const std::optional<PortDescription> port = client_ ? client_->port(address) : std::nullopt;
    if (!port) {
        unreadyPorts_.erase(address);
    } else if (isReady(*port)) {
        registry_.update(*port);
        notifyPort(MIDINotification::kObjectAdded, address);
    }
}

void SequencerService::applyPortEnd(const PortAddress& address) {
    unreadyPorts_.erase(address);
    notifyPort(MIDINotification::kObjectRemoved, address);
    registry_.portEnded(address);
    subscriptions_.erase(address);
    outputSubscriptions_.erase(address);
    flow_.forget(address);
}

void SequencerService::notifyPort(std::int32_t messageID, const PortAddress& address) {
    const Endpoint* const source = registry_.find(address, MIDIEndpointDirection::source);
    const Endpoint* const endpoint =
        source != nullptr ? source : registry_.find(address, MIDIEndpointDirection::destination);
    if (endpoint == nullptr) {
        return;
    }
    notifications_->add({.messageID = messageID,
                         .parent = endpoint->isHardware ? objectReference(ObjectKind::entity, address.client) : 0,
                         .parentType = endpoint->isHardware ? MIDINotification::kEntity : MIDINotification::kOther,
                         .child = endpoint->ref,
                         .childType = source != nullptr ? MIDINotification::kSource : MIDINotification::kDestination});
}

// Subscriptions

/// Reloading many sources is long work too.
void SequencerService::lookBetweenSteps() {
    if (++stepsSinceLook_ >= kStepsPerLook) {
        stepsSinceLook_ = 0;
        keepMIDIGoing();
    }
}

MIDIStatus SequencerService::connectSource(MIDIObjectRef source, MIDIObjectRef connection) {
    applyAnnouncements(deliveredCount_);
    const Endpoint* endpoint = registry_.find(source);
    if (endpoint == nullptr || endpoint->direction != MIDIEndpointDirection::source || !client_ || inputPort_ < 0) {
        return -ENODEV;
    }
    const PortAddress address = endpoint->address;
    lookBetweenSteps();
    const auto known = subscriptions_.find(address);
    const bool isKept = known != subscriptions_.end() && known->second.source == source &&
                        (known->second.isCertain || client_->isSubscribedFrom(inputPort_, address));
    if (!isKept) {
        // Another port may have the address of one that has ended.
        if (const int status = hasEnded(address) ? -ENODEV : client_->subscribeFrom(inputPort_, address); status < 0) {
            subscriptions_.erase(address);
            return status;
        }
    }
    subscriptions_[address] = {.source = source, .connection = connection};
    return kMIDISuccess;
}

MIDIStatus SequencerService::disconnectSource(MIDIObjectRef source) {
    lookBetweenSteps();
    const auto found = subscriptions_.find(portAddress(source));
    if (found == subscriptions_.end() || found->second.source != source) {
        return -ENODEV;
    }
    // The kernel is told later, and only if the source is not connected again by then. Otherwise messages in between
    // would be lost, and hardware would be closed and opened again.
    found->second.isWanted = false;
    if (!std::exchange(isSettlingScheduled_, true)) {
        post(&SequencerService::settleSubscriptions);
    }
    return kMIDISuccess;
}

void SequencerService::settleSubscriptions() {
    isSettlingScheduled_ = false;
    std::erase_if(subscriptions_, [this](const auto& entry) {
        const auto& [address, subscription] = entry;
        if (!subscription.isWanted && client_ && inputPort_ >= 0) {
            client_->unsubscribeFrom(inputPort_, address);
        }
        return !subscription.isWanted;
    });
}

}  // namespace corvel::hosts
