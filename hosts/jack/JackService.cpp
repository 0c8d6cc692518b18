#include "hosts/jack/JackService.hpp"

#include <absl/cleanup/cleanup.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace corvel::hosts {

namespace {

/// Maximum number of arrivals that wait for delivery. Further ones stay in the callback's ring.
constexpr std::size_t kMaxArrivals = 4'096;

/// Maximum number of arrivals that are delivered before a change of the ports takes effect: more than the callback's
/// ring holds.
constexpr std::size_t kMaxArrivalsBeforeChange = 131'072;

/// Maximum number of arrivals delivered before other work of the queue gets its turn, and given to the engine in one
/// call.
constexpr std::size_t kArrivalsPerTurn = 256;
constexpr std::size_t kArrivalsPerDelivery = 64;

}  // namespace

JackService::JackService(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue,
                         std::shared_ptr<JackProcess> process, bool leavesOutALSAMirrors, Worker worker)
    : queue_(queue),
      process_(std::move(process)),
      worker_(std::move(worker)),
      notifications_(std::make_shared<SetupNotifications>(std::move(queue), std::move(mainQueue))),
      endpoints_(leavesOutALSAMirrors) {
    eventBytes_.resize(JackProcess::kMaxInputEvent);
    group_.reserve(kArrivalsPerDelivery);
}

void JackService::post(void (JackService::*operation)()) {
    queue_->async([weakService = weak_from_this(), operation] {
        if (const auto service = weakService.lock()) {
            (*service.*operation)();
        }
    });
}

void JackService::postAfter(std::chrono::nanoseconds delay, void (JackService::*operation)()) {
    queue_->asyncAfter(delay, std::make_shared<DispatchWorkItem>([weakService = weak_from_this(), operation] {
                           if (const auto service = weakService.lock()) {
                               (*service.*operation)();
                           }
                       }));
}

void JackService::open(int descriptor, MIDIHost::NotificationHandler handler) {
    notifications_->setHandler(std::move(handler));
    descriptor_ = descriptor;
    const auto callOnService = [weakService = weak_from_this()](void (JackService::*operation)()) {
        return [weakService, operation] {
            if (const auto service = weakService.lock()) {
                (*service.*operation)();
            }
        };
    };
    queue_->watch(descriptor, callOnService(&JackService::readForThisRound), callOnService(&JackService::runTurn));
}

void JackService::setReceiveHandler(MIDIHost::ReceiveHandler handler) {
    receiveHandler_ = std::move(handler);
    if (!receiveHandler_) {
        subscriptions_.clear();
        scheduleWish();
    }
}

void JackService::close() {
    notifications_->setHandler(nullptr);
    if (descriptor_) {
        queue_->unwatch(*descriptor_);
        descriptor_.reset();
    }
}

// Input

void JackService::readForThisRound() {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t size = ::read(*descriptor_, &count, sizeof count);
    // The loop runs a turn at the end of the round.
    isTurnScheduled_ = true;
    readWaitingEvents();
}

void JackService::readWaitingEvents() {
    JackInputHeader header;
    while (arrivals_.size() < kMaxArrivals && process_->input().popHeader(header)) {
        const std::span<std::uint8_t> event = std::span(eventBytes_).first(header.size);
        process_->input().popBytes(event);
        const auto subscription = subscriptions_.find(header.tag);
        if (subscription == subscriptions_.end()) {
            continue;
        }
        JackEventReader& reader = subscription->second.reader;
        const std::size_t malformedBefore = reader.malformedCount();
        reader.read(event, [&](JackEventReader::Part, std::span<const std::uint8_t> bytes) {
            arrivals_.push({{subscription->second.connection, MIDIBytes(bytes)}, header.frame});
        });
        malformedCount_ += reader.malformedCount() - malformedBefore;
        if (reader.malformedCount() != malformedBefore) {
            scheduleMalformedReport();
        }
    }
    if (!arrivals_.empty() && !std::exchange(isTurnScheduled_, true)) {
        post(&JackService::runTurn);
    }
}

void JackService::scheduleMalformedReport() {
    if (std::exchange(isReportScheduled_, true)) {
        return;
    }
    queue_->asyncAfter(kReportInterval, std::make_shared<DispatchWorkItem>([weakService = weak_from_this()] {
                           if (const auto service = weakService.lock()) {
                               service->isReportScheduled_ = false;
                               service->reportDiagnostic_(
                                   "JACK: " + std::to_string(std::exchange(service->malformedCount_, 0)) +
                                       " pieces of what arrived are no MIDI, and were left out",
                                   kMIDISuccess);
                           }
                       }));
}

void JackService::runTurn() {
    isTurnScheduled_ = false;
    deliver(kArrivalsPerTurn);
    // Events that the last read left in the ring do not signal the descriptor again.
    readWaitingEvents();
    notifications_->send();
}

/// Gives the engine all arrivals of a frame together, because their results are sent at the same frame.
void JackService::deliver(std::size_t limit) {
    if (isDelivering_) {
        return;
    }
    isDelivering_ = true;
    const absl::Cleanup end = [this] {
        isDelivering_ = false;
        sendFrame_.reset();
    };
    while (limit > 0 && !arrivals_.empty()) {
        const std::span<Arrival> waiting = arrivals_.front();
        const std::size_t most = std::min({limit, waiting.size(), kArrivalsPerDelivery});
        sendFrame_ = waiting.front().frame;
        group_.clear();
        while (group_.size() < most && waiting[group_.size()].frame == *sendFrame_) {
            group_.push_back(std::move(waiting[group_.size()].arrival));
        }
        arrivals_.pop(group_.size());
        limit -= group_.size();
        if (receiveHandler_) {
            receiveHandler_(group_);
        }
    }
}

void JackService::deliverAll() {
    readWaitingEvents();
    for (std::size_t count = 0; !arrivals_.empty() && !isDelivering_ && count < kMaxArrivalsBeforeChange;) {
        const std::size_t size = arrivals_.size();
        deliver(size);
        count += size;
        readWaitingEvents();
    }
}

// Ports

void JackService::takeSnapshot(JackSnapshot snapshot) {
    // Messages that a closed client has sent before reach their destinations.
    deliverAll();
    const JackEndpoints::Change change = endpoints_.replaceAll(std::move(snapshot));
    if (change.isNone()) {
        return;
    }
    for (const JackEndpoints::Endpoint& endpoint : change.removed) {
        subscriptions_.erase(endpoint.ref);
        openSources_.erase(endpoint.ref);
        lanes_.erase(endpoint.ref);
        used_.erase(endpoint.ref);
    }
    if (!change.removed.empty() || change.hasChangedProperties) {
        scheduleWish();
    }
    // Before there is an input port, the first listing is still to come.
    if (receiveHandler_) {
        notify(change);
        notifications_->send();
    }
}

void JackService::notify(const JackEndpoints::Change& change) {
    const std::size_t count = change.added.size() + change.removed.size();
    if (count > 1) {
        notifications_->add({.messageID = MIDINotification::kSetupChanged});
    } else if (count == 1) {
        const bool isAdded = !change.added.empty();
        const JackEndpoints::Endpoint& endpoint = isAdded ? change.added.front() : change.removed.front();
        notifications_->add({.messageID = isAdded ? MIDINotification::kObjectAdded : MIDINotification::kObjectRemoved,
                             .parent = 0,
                             .parentType = MIDINotification::kOther,
                             .child = endpoint.ref,
                             .childType = endpoint.direction == MIDIEndpointDirection::source
                                              ? MIDINotification::kSource
                                              : MIDINotification::kDestination});
    } else {
        notifications_->add({.messageID = MIDINotification::kPropertyChanged});
    }
}

std::shared_ptr<const MIDISetup> JackService::setup(MIDIListing listing) {
    if (listing == MIDIListing::afresh) {
        worker_.refresh();
    }
    return endpoints_.setup();
}

MIDIStatus JackService::connectSource(MIDIObjectRef source, MIDIObjectRef connection) {
    const JackEndpoints::Endpoint* const endpoint = endpoints_.find(source);
    if (endpoint == nullptr || endpoint->direction != MIDIEndpointDirection::source || !receiveHandler_) {
        return -ENODEV;
    }
    const auto [entry, isNew] = subscriptions_.try_emplace(source);
    entry->second.connection = connection;
    entry->second.isWanted = true;
    if (isNew) {
        scheduleWish();
    }
    return kMIDISuccess;
}

MIDIStatus JackService::disconnectSource(MIDIObjectRef source) {
    const auto found = subscriptions_.find(source);
    if (found == subscriptions_.end()) {
        return -ENODEV;
    }
    // The port stays if the source is connected again in the same task, as in every reload. Otherwise messages in
    // between would be lost.
    found->second.isWanted = false;
    if (!std::exchange(isSettlingScheduled_, true)) {
        post(&JackService::settleSubscriptions);
    }
    return kMIDISuccess;
}

void JackService::settleSubscriptions() {
    isSettlingScheduled_ = false;
    if (std::erase_if(subscriptions_, [](const auto& entry) { return !entry.second.isWanted; }) > 0) {
        scheduleWish();
    }
}

void JackService::setUsedEndpoints(std::span<const MIDIObjectRef> sources,
                                   std::span<const MIDIObjectRef> destinations) {
    used_ = {sources.begin(), sources.end()};
    used_.insert(destinations.begin(), destinations.end());
    for (const MIDIObjectRef source : sources) {
        if (endpoints_.find(source) != nullptr && openSources_.insert(source).second) {
            scheduleWish();
        }
    }
    for (const MIDIObjectRef destination : destinations) {
        [[maybe_unused]] const JackLane* const lane = laneTo(destination);
    }
    scheduleRelease();
}

JackLane* JackService::laneTo(MIDIObjectRef destination) {
    if (const auto lane = lanes_.find(destination); lane != lanes_.end()) {
        return lane->second.get();
    }
    const JackEndpoints::Endpoint* const endpoint = endpoints_.find(destination);
    if (endpoint == nullptr || endpoint->direction != MIDIEndpointDirection::destination) {
        return nullptr;
    }
    const auto lane = std::make_shared<JackLane>();
    lanes_[destination] = lane;
    scheduleWish();
    scheduleRelease();
    return lane.get();
}

bool JackService::hasUnused() const {
    return std::ranges::any_of(lanes_, [this](const auto& entry) { return !used_.contains(entry.first); }) ||
           !std::ranges::includes(used_, openSources_);
}

void JackService::scheduleRelease() {
    if (hasUnused() && !std::exchange(isReleaseScheduled_, true)) {
        postAfter(kReleaseDelay, &JackService::releaseUnused);
    }
}

void JackService::releaseUnused() {
    isReleaseScheduled_ = false;
    const std::size_t lanes = std::erase_if(
        lanes_, [this](const auto& entry) { return !used_.contains(entry.first) && entry.second->isDrained(); });
    const std::size_t sources = std::erase_if(openSources_, [this](MIDIObjectRef ref) { return !used_.contains(ref); });
    if (lanes + sources > 0) {
        scheduleWish();
    }
    scheduleRelease();
}

/// At the end of the current task, because a reload requests many ports one by one.
void JackService::scheduleWish() {
    if (!std::exchange(isWishScheduled_, true)) {
        post(&JackService::sendWish);
    }
}

void JackService::sendWish() {
    isWishScheduled_ = false;
    JackWish wish;
    for (const auto& [source, subscription] : subscriptions_) {
        if (openSources_.contains(source)) {
            wish.inputs[source] = endpoints_.find(source)->portName;
        }
    }
    for (const auto& [destination, lane] : lanes_) {
        wish.outputs[destination] = {.otherPort = endpoints_.find(destination)->portName, .lane = lane};
    }
    worker_.setWish(std::move(wish));
}

// Output

void JackService::send(std::span<MIDISend> messages) {
    for (MIDISend& message : messages) {
        JackLane* const lane = laneTo(message.destination);
        message.status = lane != nullptr ? lane->write(message.bytes, sendFrame_, process_->maxEventSize()) : -ENODEV;
    }
}

}  // namespace corvel::hosts
