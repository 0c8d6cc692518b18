#include "tests/hosts/alsa/HostUnderTest.hpp"

#include "hosts/alsa/ALSAMIDIHost.hpp"

#include <algorithm>
#include <future>
#include <span>
#include <stdexcept>

namespace corvel::tests {

namespace {

MIDIObjectRef orThrow(const MIDICreation& creation, const char* what) {
    if (creation.status != kMIDISuccess || creation.ref == 0) {
        throw std::runtime_error(std::string(what) + ": status " + std::to_string(creation.status));
    }
    return creation.ref;
}

std::vector<std::string> namesBeginningWith(const std::string& prefix, const std::vector<ListedEndpoint>& endpoints) {
    std::vector<std::string> names;
    for (const ListedEndpoint& endpoint : endpoints) {
        if (endpoint.displayName.value_or("").starts_with(prefix)) {
            names.push_back(*endpoint.displayName);
        }
    }
    return names;
}

ListedEndpoint onlyOne(const std::string& displayName, const std::vector<ListedEndpoint>& endpoints) {
    std::optional<ListedEndpoint> found;
    for (const ListedEndpoint& endpoint : endpoints) {
        if (endpoint.displayName == displayName) {
            if (found) {
                throw std::runtime_error("more than one endpoint is shown as " + displayName);
            }
            found = endpoint;
        }
    }
    if (!found) {
        throw std::runtime_error("no endpoint is shown as " + displayName);
    }
    return *found;
}

}  // namespace

HostUnderTest::HostUnderTest()
    : queue_(EventLoop::withThread("test.engine")),
      mainQueue_(EventLoop::withThread("test.main")),
      host_(hosts::makeALSAMIDIHost(queue_, mainQueue_)) {
    host_->setDiagnosticHandler([reports = reports_](std::string message, MIDIStatus status) {
        // Comes at any time after the start, and depends on the machine.
        if (message.starts_with("Routing at ")) {
            return;
        }
        if (status != kMIDISuccess) {
            message += " (" + std::to_string(status) + ")";
        }
        const std::lock_guard lock(reports->mutex);
        reports->diagnostics.push_back(std::move(message));
        reports->changed.notify_all();
    });
}

HostUnderTest::~HostUnderTest() {
    dispose();
}

void HostUnderTest::start() {
    mainQueue_->sync([this] {
        client_ = orThrow(host_->createClient("Corvel",
                                              [reports = reports_, queue = std::weak_ptr<EventLoop>(mainQueue_)](
                                                  const MIDINotification& notification) {
                                                  const auto main = queue.lock();
                                                  const std::lock_guard lock(reports->mutex);
                                                  reports->notifications.push_back(notification);
                                                  reports->notifiedElsewhere |= !main || !main->isCurrent();
                                                  reports->changed.notify_all();
                                              }),
                          "client");
    });
    queue_->sync([this] {
        inputPort_ = orThrow(
            host_->createInputPort(client_, "Corvel Input",
                                   [reports = reports_](std::span<const MIDIArrival> arrivals) {
                                       std::unique_lock lock(reports->mutex);
                                       for (const MIDIArrival& arrival : arrivals) {
                                           reports->deliveries.push_back(
                                               {arrival.connection, Bytes(arrival.bytes.begin(), arrival.bytes.end())});
                                       }
                                       reports->changed.notify_all();
                                       lock.unlock();
                                       if (reports->onDelivery) {
                                           reports->onDelivery(arrivals.size());
                                       }
                                   }),
            "input port");
        outputPort_ = orThrow(host_->createOutputPort(client_, "Corvel Output"), "output port");
    });
}

void HostUnderTest::dispose() {
    for (MIDIObjectRef* port : {&inputPort_, &outputPort_}) {
        if (*port != 0) {
            host_->disposePort(std::exchange(*port, 0));
        }
    }
    if (client_ != 0) {
        host_->disposeClient(std::exchange(client_, 0));
        // Waits for the queue to close the client, so that the next test does not find its number in use.
        queue_->sync([] {});
    }
}

void HostUnderTest::setOnDelivery(std::function<void(std::size_t)> handler) {
    onQueue([&] { reports_->onDelivery = std::move(handler); });
}

std::function<void()> HostUnderTest::hold(EventLoop& queue) {
    auto release = std::make_shared<std::promise<void>>();
    std::promise<void> held;
    queue.async([&held, released = release->get_future().share()] {
        held.set_value();
        released.wait();
    });
    held.get_future().wait();
    return [release] { release->set_value(); };
}

std::shared_ptr<const MIDISetup> HostUnderTest::setup() {
    return onQueue([this] { return host_->setup(MIDIListing::afresh); });
}

std::vector<ListedEndpoint> HostUnderTest::sources() {
    return setup()->sources;
}

std::vector<ListedEndpoint> HostUnderTest::destinations() {
    return setup()->destinations;
}

std::vector<std::string> HostUnderTest::sourceNames(const std::string& prefix) {
    return namesBeginningWith(prefix, sources());
}

std::vector<std::string> HostUnderTest::destinationNames(const std::string& prefix) {
    return namesBeginningWith(prefix, destinations());
}

ListedEndpoint HostUnderTest::source(const std::string& displayName) {
    return onlyOne(displayName, sources());
}

ListedEndpoint HostUnderTest::destination(const std::string& displayName) {
    return onlyOne(displayName, destinations());
}

MIDIStatus HostUnderTest::connect(MIDIObjectRef source) {
    return onQueue([&] { return host_->connectSource(inputPort_, source, source); });
}

MIDIStatus HostUnderTest::disconnect(MIDIObjectRef source) {
    return onQueue([&] { return host_->disconnectSource(inputPort_, source); });
}

MIDIStatus HostUnderTest::send(MIDIObjectRef destination, const Bytes& bytes) {
    return onQueue([&] {
        MIDISend message{.destination = destination, .bytes = bytes};
        host_->send(outputPort_, std::span(&message, 1));
        return message.status;
    });
}

void HostUnderTest::reload(const std::vector<MIDIObjectRef>& connected) {
    onQueue([&] {
        const std::shared_ptr<const MIDISetup> setup = host_->setup(MIDIListing::afresh);
        for (const MIDIObjectRef source : connected) {
            host_->disconnectSource(inputPort_, source);
        }
        for (const ListedEndpoint& source : setup->sources) {
            if (std::ranges::find(connected, source.ref) != connected.end()) {
                static_cast<void>(host_->connectSource(inputPort_, source.ref, source.ref));
            }
        }
    });
}

std::vector<DeliveredPacket> HostUnderTest::deliveries() {
    return copy(&Reports::deliveries);
}

Bytes HostUnderTest::deliveredBytes() {
    Bytes all;
    for (const DeliveredPacket& packet : deliveries()) {
        all.insert(all.end(), packet.bytes.begin(), packet.bytes.end());
    }
    return all;
}

std::vector<MIDINotification> HostUnderTest::notifications() {
    return copy(&Reports::notifications);
}

std::vector<std::string> HostUnderTest::diagnostics() {
    return copy(&Reports::diagnostics);
}

bool HostUnderTest::notifiedElsewhere() {
    return copy(&Reports::notifiedElsewhere);
}

bool HostUnderTest::waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        // A report that comes between the check and the wait is found at the next check.
        constexpr std::chrono::milliseconds kLook{10};
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::unique_lock lock(reports_->mutex);
        reports_->changed.wait_for(lock, kLook);
    }
    return true;
}

}  // namespace corvel::tests
