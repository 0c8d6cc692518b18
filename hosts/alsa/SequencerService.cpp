#include "hosts/alsa/SequencerService.hpp"

#include "hosts/alsa/ObjectReference.hpp"
#include "hosts/alsa/RealtimePriority.hpp"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

namespace corvel::hosts {

namespace {

using namespace std::chrono_literals;

/// How long a closing client tries to get rid of what waits.
constexpr auto kFarewell = 250ms;

}  // namespace

SequencerService::SequencerService(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue)
    : queue_(std::move(queue)),
      mainQueue_(std::move(mainQueue)),
      registry_([](int card) { return readSoundCard(card); }) {}

void SequencerService::post(void (SequencerService::*operation)()) {
    queue_->async([weakService = weak_from_this(), operation] {
        if (const auto service = weakService.lock()) {
            (*service.*operation)();
        }
    });
}

void SequencerService::diagnose(std::string message) const {
    if (reportDiagnostic_) {
        reportDiagnostic_(std::move(message));
    }
}

// Client and ports

void SequencerService::adopt(std::unique_ptr<SequencerClient> client, MIDIHost::NotificationHandler handler) {
    client_ = std::move(client);
    notificationHandler_ = std::move(handler);
    // From now on announcements tell which ports live; what was seen before may have been replaced unseen.
    registry_.clear();

    announcementPort_ = client_->createHiddenPort("Corvel Announcements", SND_SEQ_PORT_CAP_WRITE);
    const int status =
        announcementPort_ < 0
            ? announcementPort_
            : client_->subscribeFrom(announcementPort_, {SND_SEQ_CLIENT_SYSTEM, SND_SEQ_PORT_SYSTEM_ANNOUNCE});
    if (status < 0) {
        diagnose("Changes of the MIDI setup cannot be followed: " + std::system_category().message(-status));
    }
    if (const std::optional<std::string> refusal = requestRealtimePriority()) {
        diagnose("Real-time priority was not granted (" + *refusal + "); under load MIDI may be late");
    }
    queue_->watch(client_->descriptor(), [weakService = weak_from_this()] {
        if (const auto service = weakService.lock()) {
            service->handleReady();
        }
    });
}

MIDICreation SequencerService::createInputPort(std::string_view name, MIDIHost::ReceiveHandler handler) {
    const int port = client_ ? client_->createHiddenPort(name, SND_SEQ_PORT_CAP_WRITE) : -ENODEV;
    if (port < 0) {
        return {.status = port};
    }
    inputPort_ = port;
    receiveHandler_ = std::move(handler);
    return {.ref = objectReference(ObjectKind::port, port)};
}

MIDICreation SequencerService::createOutputPort(std::string_view name) {
    const int port = client_ ? client_->createHiddenPort(name, SND_SEQ_PORT_CAP_READ) : -ENODEV;
    if (port < 0) {
        return {.status = port};
    }
    outputPort_ = port;
    client_->setOutputPort(port);
    return {.ref = objectReference(ObjectKind::port, port)};
}

void SequencerService::disposePort(MIDIObjectRef port) {
    if (!client_) {
        return;
    }
    const int number = objectNumber(port);
    if (number == inputPort_) {
        inputPort_ = -1;
        receiveHandler_ = nullptr;
        subscriptions_.clear();
        arrivals_.clear();
        arrivedBytes_ = 0;
        client_->deletePort(number);
    }
    // The output port goes with the client, which still sends what waits.
}

void SequencerService::disposeClient() {
    if (!client_) {
        return;
    }
    notificationHandler_ = nullptr;
    queue_->unwatch(client_->descriptor());
    const auto deadline = now() + kFarewell;
    for (flow_.sendWaiting(); flow_.isWaiting() && now() < deadline; flow_.sendWaiting()) {
        std::this_thread::sleep_for(kRetryDelay);
    }
    client_.reset();
}

// Announcements

void SequencerService::handleAnnouncements() {
    for (const Announcement& announcement : std::exchange(announcements_, {})) {
        handle(announcement);
    }
}

void SequencerService::catchUp() {
    if (mayHaveMissedPorts_) {
        rescan();
    } else {
        handleAnnouncements();
    }
}

bool SequencerService::hasEnded(const PortAddress& address) const {
    return std::ranges::any_of(announcements_, [&](const Announcement& announcement) {
        return announcement.type == SND_SEQ_EVENT_PORT_EXIT && announcement.address == address;
    });
}

void SequencerService::handle(const Announcement& announcement) {
    const PortAddress& address = announcement.address;
    if (!client_ || address.client == client_->number() || address.client == SND_SEQ_CLIENT_SYSTEM) {
        return;
    }
    switch (announcement.type) {
        case SND_SEQ_EVENT_PORT_START:
            if (const std::optional<PortDescription> port = client_->port(address)) {
                notifyPort(MIDINotification::kObjectAdded, address,
                           EndpointRegistry::isEndpoint(*port, MIDIEndpointDirection::source),
                           EndpointRegistry::isEndpoint(*port, MIDIEndpointDirection::destination), port->card >= 0);
            }
            break;
        case SND_SEQ_EVENT_PORT_EXIT:
            handlePortEnd(address);
            break;
        case SND_SEQ_EVENT_PORT_CHANGE:
        case SND_SEQ_EVENT_CLIENT_CHANGE:
            notify({.messageID = MIDINotification::kPropertyChanged});
            break;
        default:
            // Subscriptions change with every reload of our own; clients come and go with their ports.
            break;
    }
}

void SequencerService::handlePortEnd(const PortAddress& address) {
    const bool wasSource = registry_.knownReference(address, MIDIEndpointDirection::source) != 0;
    const bool wasDestination = registry_.knownReference(address, MIDIEndpointDirection::destination) != 0;
    const auto described = std::ranges::find(ports_, address, &PortDescription::address);
    const bool wasHardware = described != ports_.end() && described->card >= 0;
    notifyPort(MIDINotification::kObjectRemoved, address, wasSource, wasDestination, wasHardware);
    registry_.portEnded(address);
    subscriptions_.erase(address);
    outputSubscriptions_.erase(address);
    flow_.forget(address);
}

void SequencerService::notifyPort(std::int32_t messageID, const PortAddress& address, bool hasSource,
                                  bool hasDestination, bool isHardware) {
    if (!hasSource && !hasDestination) {
        return;
    }
    const auto direction = hasSource ? MIDIEndpointDirection::source : MIDIEndpointDirection::destination;
    notify({.messageID = messageID,
            .parent = isHardware ? objectReference(ObjectKind::entity, address.client) : 0,
            .parentType = isHardware ? MIDINotification::kEntity : MIDINotification::kOther,
            .child = registry_.reference(address, direction),
            .childType = hasSource ? MIDINotification::kSource : MIDINotification::kDestination});
}

void SequencerService::notify(const MIDINotification& notification) {
    if (notificationHandler_) {
        mainQueue_->async([handler = notificationHandler_, notification] { handler(notification); });
    }
}

// Endpoints

void SequencerService::rescan() {
    if (client_) {
        // What was announced by now first: a port that is seen here must not be taken for the one it replaced.
        readWaitingEvents();
        handleAnnouncements();
        ports_ = client_->ports();
        if (std::exchange(mayHaveMissedPorts_, false)) {
            updateAfterMissedPorts();
        } else {
            registry_.update(ports_, false);
        }
        return;
    }
    // Without a client nothing is announced, so no port is known to be the one that was seen before.
    registry_.clear();
    int status = 0;
    const std::unique_ptr<SequencerClient> visitor = SequencerClient::open("Corvel", status);
    ports_ = visitor ? visitor->ports() : std::vector<PortDescription>();
    registry_.update(ports_, false);
}

void SequencerService::updateAfterMissedPorts() {
    const std::vector<Endpoint> before = registry_.destinations();
    registry_.update(ports_, true);
    for (const Endpoint& destination : before) {
        if (registry_.find(destination.ref) == nullptr) {
            flow_.forget(destination.address);
        }
    }
    // A device that went and came back unseen looks the same, but nobody subscribes to it now.
    outputSubscriptions_.clear();
}

void SequencerService::rebuildDeviceTree() {
    deviceTree_ = DeviceTree::build(ports_, registry_, soundCardName);
}

// Subscriptions

MIDIStatus SequencerService::connectSource(MIDIObjectRef source, MIDIObjectRef connection) {
    catchUp();
    const Endpoint* endpoint = registry_.find(source);
    if (endpoint == nullptr || endpoint->direction != MIDIEndpointDirection::source || !client_ || inputPort_ < 0) {
        return -ENODEV;
    }
    const auto known = subscriptions_.find(endpoint->address);
    const bool isKept = known != subscriptions_.end() && known->second.source == source &&
                        client_->isSubscribedFrom(inputPort_, endpoint->address);
    if (!isKept) {
        if (const int status = client_->subscribeFrom(inputPort_, endpoint->address); status < 0) {
            subscriptions_.erase(endpoint->address);
            return status;
        }
    }
    subscriptions_[endpoint->address] = {.source = source, .connection = connection, .isWanted = true};
    return kMIDISuccess;
}

MIDIStatus SequencerService::disconnectSource(MIDIObjectRef source) {
    const auto found =
        std::ranges::find_if(subscriptions_, [source](const auto& entry) { return entry.second.source == source; });
    if (found == subscriptions_.end()) {
        return -ENODEV;
    }
    // The kernel is told later, and only if the source is not connected again by then: it would lose what is played in
    // between, and hardware would be closed and opened.
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
