#include "core/engine/CoreMIDIRouterEngine.hpp"

#include "core/messages/MIDIMessageTransformer.hpp"

#include <absl/container/inlined_vector.h>

#include <utility>

namespace corvel {

std::shared_ptr<CoreMIDIRouterEngine> CoreMIDIRouterEngine::create(std::shared_ptr<MIDIHost> host,
                                                                   std::shared_ptr<DispatchQueue> queue,
                                                                   std::shared_ptr<DispatchQueue> mainQueue,
                                                                   std::shared_ptr<const Clock> clock) {
    auto engine = std::make_shared<CoreMIDIRouterEngine>(Private(), std::move(host), std::move(queue),
                                                         std::move(mainQueue), std::move(clock));
    engine->host_->setDiagnosticHandler(
        [weakEngine = engine->weak_from_this()](std::string message, MIDIStatus status) {
            if (const auto strongEngine = weakEngine.lock()) {
                strongEngine->takeHostDiagnostic(std::move(message), status);
            }
        });
    return engine;
}

CoreMIDIRouterEngine::CoreMIDIRouterEngine(Private, std::shared_ptr<MIDIHost> host,
                                           std::shared_ptr<DispatchQueue> queue,
                                           std::shared_ptr<DispatchQueue> mainQueue, std::shared_ptr<const Clock> clock)
    : host_(std::move(host)), queue_(std::move(queue)), mainQueue_(std::move(mainQueue)), clock_(std::move(clock)) {
    collected_.reserve(kMessagesPerSend);
    sends_.reserve(kMessagesPerSend);
}

CoreMIDIRouterEngine::~CoreMIDIRouterEngine() {
    if (inputPort_ != 0) {
        host_->disposePort(inputPort_);
    }
    if (outputPort_ != 0) {
        host_->disposePort(outputPort_);
    }
    if (client_ != 0) {
        host_->disposeClient(client_);
    }
}

void CoreMIDIRouterEngine::setDelegate(std::weak_ptr<MIDIRouterEngineDelegate> delegate) {
    delegate_ = std::move(delegate);
}

std::shared_ptr<MIDIRouterEngineDelegate> CoreMIDIRouterEngine::delegate() const {
    return delegate_.lock();
}

void CoreMIDIRouterEngine::start() {
    if (mainQueue_->isCurrent()) {
        startOnMainThread();
        return;
    }
    mainQueue_->async([weakEngine = weak_from_this()] {
        if (const auto engine = weakEngine.lock()) {
            engine->startOnMainThread();
        }
    });
}

bool CoreMIDIRouterEngine::isStarted() {
    bool isStarted = false;
    queue_->sync([this, &isStarted] { isStarted = isStarted_; });
    return isStarted;
}

void CoreMIDIRouterEngine::startOnMainThread() {
    if (client_ != 0) {
        return;
    }
    logDiagnostic("Starting CoreMIDI client on main run loop");
    const MIDICreation creation =
        host_->createClient("Corvel", [weakEngine = weak_from_this()](const MIDINotification& notification) {
            if (const auto engine = weakEngine.lock()) {
                engine->handleMIDISetupChanged(describe(notification));
            }
        });
    if (!reportIfFailed(creation.status, "MIDI client could not be created")) {
        return;
    }
    client_ = creation.ref;
    queue_->async([weakEngine = weak_from_this(), client = client_] {
        if (const auto engine = weakEngine.lock()) {
            engine->startPortsOnQueue(client);
        }
    });
}

void CoreMIDIRouterEngine::startPortsOnQueue(MIDIObjectRef client) {
    if (isStarted_) {
        return;
    }
    const MIDICreation input = host_->createInputPort(
        client, "Corvel Input", [weakEngine = weak_from_this()](std::span<const MIDIArrival> arrivals) {
            if (const auto engine = weakEngine.lock()) {
                engine->handle(arrivals);
            }
        });
    if (!reportIfFailed(input.status, "MIDI input port could not be created")) {
        return;
    }
    inputPort_ = input.ref;
    const MIDICreation output = host_->createOutputPort(client, "Corvel Output");
    if (!reportIfFailed(output.status, "MIDI output port could not be created")) {
        return;
    }
    outputPort_ = output.ref;
    isStarted_ = true;
    reloadEndpointsOnQueue("initial load", MIDIListing::afresh);
    notifyEndpointsChanged();
    for (HostDiagnostic& diagnostic : std::exchange(hostDiagnosticsBeforeStart_, {})) {
        reportHostDiagnostic(std::move(diagnostic.message), diagnostic.status);
    }
}

void CoreMIDIRouterEngine::updateRoutes(std::vector<MIDIRoute> routes) {
    queue_->async([weakEngine = weak_from_this(), routes = std::move(routes)]() mutable {
        if (const auto engine = weakEngine.lock()) {
            engine->endHeldNotes(engine->routeTable_.setRoutes(std::move(routes)));
            engine->tellUsedEndpoints();
        }
    });
}

void CoreMIDIRouterEngine::handle(std::span<const MIDIArrival> arrivals) {
    if (queue_->isCurrent()) {
        deliverOnQueue(arrivals);
        return;
    }
    auto delivery = [weakEngine = weak_from_this(),
                     copies = absl::InlinedVector<MIDIArrival, 1>(arrivals.begin(), arrivals.end())] {
        if (const auto engine = weakEngine.lock()) {
            engine->deliverOnQueue(copies);
        }
    };
    static_assert(Task::kIsInline<decltype(delivery)>, "a short message must not wait for the heap");
    queue_->async(std::move(delivery));
}

void CoreMIDIRouterEngine::deliverOnQueue(std::span<const MIDIArrival> arrivals) {
    for (const MIDIArrival& arrival : arrivals) {
        const RouteTable::Source* const source = routeTable_.find(arrival.connection);
        if (source == nullptr) {
            continue;
        }
        EndpointTraffic::note(*source->traffic);
        for (const RouteTable::Connection& connection : source->connections) {
            addToSend(connection, arrival.bytes);
        }
    }
    sendCollected();
}

void CoreMIDIRouterEngine::addToSend(const RouteTable::Connection& connection, const MIDIBytes& bytes) {
    if (collected_.size() == kMessagesPerSend) {
        sendCollected();
    }
    collected_.push_back({.routeID = connection.routeID,
                          .destinationID = connection.destinationID,
                          .bytes = MIDIMessageTransformer::transform(bytes, connection.channelMode)});
    const MIDIBytes& sent = collected_.back().bytes;
    sends_.push_back({.destination = connection.destination, .bytes = sent});
    EndpointTraffic::note(*connection.traffic);
    if (connection.held != nullptr) {
        connection.held->takeIn(sent);
    }
}

void CoreMIDIRouterEngine::tellUsedEndpoints() {
    if (isStarted_) {
        host_->setUsedEndpoints(routeTable_.usedSources(), routeTable_.usedDestinations());
    }
}

void CoreMIDIRouterEngine::sendCollected() {
    if (sends_.empty()) {
        return;
    }
    host_->send(outputPort_, sends_);
    const Instant sentAt = clock_->now();
    // Activities and failures are reported in the order of the messages.
    std::size_t next = 0;
    for (std::size_t index = 0; index < sends_.size(); ++index) {
        if (sends_[index].status != kMIDISuccess) {
            postActivities(std::span(collected_).subspan(next, index - next), sentAt);
            reportSendFailure(collected_[index].destinationID, sends_[index].status);
            next = index + 1;
        }
    }
    postActivities(std::span(collected_).subspan(next), sentAt);
    collected_.clear();
    sends_.clear();
}

}  // namespace corvel
