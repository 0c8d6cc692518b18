#include "core/engine/CoreMIDIRouterEngine.hpp"

#include "core/messages/RouteProcessor.hpp"
#include "core/support/UUID.hpp"

#include <optional>
#include <span>
#include <utility>
#include <variant>

namespace corvel {

std::shared_ptr<CoreMIDIRouterEngine> CoreMIDIRouterEngine::create(std::shared_ptr<MIDIHost> host,
                                                                   std::shared_ptr<DispatchQueue> queue,
                                                                   std::shared_ptr<DispatchQueue> mainQueue,
                                                                   std::shared_ptr<const Clock> clock) {
    auto engine = std::make_shared<CoreMIDIRouterEngine>(Private(), std::move(host), std::move(queue),
                                                         std::move(mainQueue), std::move(clock));
    engine->host_->setDiagnosticHandler([weakEngine = engine->weak_from_this()](std::string message) {
        if (const auto strongEngine = weakEngine.lock()) {
            strongEngine->takeHostDiagnostic(std::move(message));
        }
    });
    return engine;
}

CoreMIDIRouterEngine::CoreMIDIRouterEngine(Private, std::shared_ptr<MIDIHost> host,
                                           std::shared_ptr<DispatchQueue> queue,
                                           std::shared_ptr<DispatchQueue> mainQueue, std::shared_ptr<const Clock> clock)
    : host_(std::move(host)), queue_(std::move(queue)), mainQueue_(std::move(mainQueue)), clock_(std::move(clock)) {}

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
    const MIDICreation input =
        host_->createInputPort(client, "Corvel Input",
                               [weakEngine = weak_from_this()](std::span<const std::span<const std::uint8_t>> packets,
                                                               MIDIObjectRef connection) {
                                   if (connection == 0) {
                                       return;
                                   }
                                   PacketBytes copies(packets);
                                   if (const auto engine = weakEngine.lock()) {
                                       engine->handle(std::move(copies), connection);
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
    reloadEndpointsOnQueue("initial load");
    notifyEndpointsChanged();
    for (std::string& message : std::exchange(hostDiagnosticsBeforeStart_, {})) {
        logDiagnostic(std::move(message));
    }
}

void CoreMIDIRouterEngine::post(MIDINotice notice) {
    if (reports_.push(std::move(notice))) {
        wakeMainThread();
    }
}

void CoreMIDIRouterEngine::postActivity(RoutedMIDIMessage&& message) {
    if (reports_.push(std::move(message), clock_->now())) {
        // Nobody sees a few milliseconds, but the message's receiver would wait for them if the main thread came first.
        mainQueue_->asyncDeferred([weakEngine = weak_from_this()] { deliverReports(weakEngine); });
    }
}

void CoreMIDIRouterEngine::wakeMainThread() {
    mainQueue_->async([weakEngine = weak_from_this()] { deliverReports(weakEngine); });
}

void CoreMIDIRouterEngine::deliverReports(const std::weak_ptr<CoreMIDIRouterEngine>& weakEngine) {
    const auto engine = weakEngine.lock();
    if (!engine) {
        return;
    }
    // No more than now wait, or a flood would keep the main thread from everything else. The one extra look finds the
    // queue empty, which is what makes the next report ask for a wake-up.
    for (std::size_t remaining = engine->reports_.size() + 1; remaining > 0; --remaining) {
        // A delegate may release the engine, and then hears no more of it.
        if (!engine->deliverNextReport() || engine.use_count() == 1) {
            return;
        }
    }
    engine->wakeMainThread();
}

bool CoreMIDIRouterEngine::deliverNextReport() {
    const std::optional<MIDIReport> report = reports_.pop();
    if (!report) {
        return false;
    }
    try {
        deliver(*report);
    } catch (...) {
        wakeMainThread();
        throw;
    }
    return true;
}

void CoreMIDIRouterEngine::deliver(const MIDIReport& report) {
    const auto delegate = delegate_.lock();
    if (!delegate) {
        return;
    }
    struct Delivery {
        CoreMIDIRouterEngine& engine;
        MIDIRouterEngineDelegate& delegate;

        void operator()(const MIDIActivityEvent& event) const { delegate.midiRouterEngineDidRoute(engine, event); }
        void operator()(const MIDIEndpointsReport&) const { delegate.midiRouterEngineDidChangeEndpoints(engine); }
        void operator()(const MIDIFailureReport& failure) const {
            delegate.midiRouterEngineDidFail(engine, failure.message);
        }
        void operator()(const MIDIDiagnosticEvent& event) const { delegate.midiRouterEngineDidLog(engine, event); }
    };
    std::visit(Delivery{*this, *delegate}, report);
}

bool CoreMIDIRouterEngine::reportIfFailed(MIDIStatus status, std::string_view message) {
    if (status == kMIDISuccess) {
        return true;
    }
    post(MIDIFailureReport{std::string(message) + " (" + std::to_string(status) + ")"});
    return false;
}

void CoreMIDIRouterEngine::logDiagnostic(std::string message) {
    post(MIDIDiagnosticEvent{UUID::random(), clock_->now(), std::move(message)});
}

void CoreMIDIRouterEngine::takeHostDiagnostic(std::string message) {
    queue_->async([weakEngine = weak_from_this(), message = std::move(message)]() mutable {
        const auto engine = weakEngine.lock();
        if (!engine) {
            return;
        }
        if (engine->isStarted_) {
            engine->logDiagnostic(std::move(message));
        } else {
            engine->hostDiagnosticsBeforeStart_.push_back(std::move(message));
        }
    });
}

void CoreMIDIRouterEngine::updateRoutes(std::vector<MIDIRoute> routes) {
    RoutesBySource routesBySourceID;
    for (MIDIRoute& route : routes) {
        routesBySourceID[route.sourceID].push_back(std::move(route));
    }
    queue_->async([weakEngine = weak_from_this(), routesBySourceID = std::move(routesBySourceID)]() mutable {
        if (const auto engine = weakEngine.lock()) {
            engine->routesBySourceID_ = std::move(routesBySourceID);
        }
    });
}

void CoreMIDIRouterEngine::handle(PacketBytes&& packets, MIDIObjectRef source) {
    auto delivery = [weakEngine = weak_from_this(), packets = std::move(packets), source] {
        if (const auto engine = weakEngine.lock()) {
            engine->deliverOnQueue(packets, source);
        }
    };
    static_assert(Task::kIsInline<decltype(delivery)>, "a short message must not wait for the heap");
    queue_->async(std::move(delivery));
}

void CoreMIDIRouterEngine::deliverOnQueue(const PacketBytes& packets, MIDIObjectRef source) {
    const auto sourceID = sourceIDByEndpointRef_.find(source);
    if (sourceID == sourceIDByEndpointRef_.end()) {
        return;
    }
    const auto routes = routesBySourceID_.find(sourceID->second);
    if (routes == routesBySourceID_.end()) {
        return;
    }
    packets.forEach([&](std::span<const std::uint8_t> bytes) {
        RouteProcessor::forEachRoutedMessage(sourceID->second, bytes, routes->second,
                                             [this](RoutedMIDIMessage&& message) { send(std::move(message)); });
    });
}

void CoreMIDIRouterEngine::send(RoutedMIDIMessage&& message) {
    const auto destination = destinationRefByID_.find(message.destinationID);
    if (destination == destinationRefByID_.end()) {
        return;
    }
    const std::optional<MIDIPacket> packet = host_->makePacket(message.bytes);
    if (!packet) {
        reportIfFailed(kSendFailed, "MIDI packet could not be created");
        return;
    }
    if (reportIfFailed(host_->send(outputPort_, destination->second, *packet), "MIDI message could not be sent")) {
        postActivity(std::move(message));
    }
}

}  // namespace corvel
