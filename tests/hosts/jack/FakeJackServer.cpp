#include "tests/hosts/jack/FakeJackServer.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace corvel::tests {

using hosts::JackBuffers;
using hosts::JackClient;
using hosts::JackEvent;
using hosts::JackEvents;
using hosts::JackLibrary;
using hosts::JackPort;

class FakeJackClient final : public JackClient, private JackBuffers {
public:
    FakeJackClient(std::shared_ptr<FakeJackServer> server, JackEvents events) : server_(std::move(server)) {
        server_->events = std::move(events);
        server_->hasClient = true;
        server_->buffers_ = this;
    }
    FakeJackClient(const FakeJackClient&) = delete;
    FakeJackClient& operator=(const FakeJackClient&) = delete;
    ~FakeJackClient() override {
        server_->events = {};
        server_->hasClient = false;
        server_->buffers_ = nullptr;
        server_->ownPorts.clear();
    }

    std::string serverName() override { return server_->name; }
    std::vector<JackPort> ports() override {
        ++server_->listCount;
        std::vector<JackPort> all = server_->ports;
        for (const auto& own : server_->ownPorts) {
            const auto direction = own->otherSide == MIDIEndpointDirection::source ? MIDIEndpointDirection::destination
                                                                                   : MIDIEndpointDirection::source;
            all.push_back({.name = "Corvel:" + own->name, .direction = direction, .aliases = {}, .prettyName = {}});
        }
        return all;
    }
    bool activate() override { return true; }
    std::uint32_t period() override { return server_->frames; }

    void* registerPort(const std::string& name, MIDIEndpointDirection otherSide) override {
        const auto names = server_->ownPortNames();
        if (server_->refusesNewPorts || !server_->isRunning || std::ranges::find(names, name) != names.end()) {
            return nullptr;
        }
        auto own = std::make_unique<FakeJackServer::OwnPort>();
        own->name = name;
        own->otherSide = otherSide;
        server_->ownPorts.push_back(std::move(own));
        return server_->ownPorts.back().get();
    }
    void unregisterPort(void* port) override {
        if (std::erase_if(server_->ownPorts, [port](const auto& own) { return own.get() == port; }) == 0) {
            ++server_->strayRemovalCount;
        }
    }
    MIDIStatus connect(void* port, MIDIEndpointDirection /*otherSide*/, const std::string& otherPort) override {
        const bool isThere = std::ranges::find(server_->ports, otherPort, &JackPort::name) != server_->ports.end();
        const bool isRefused = std::ranges::find(server_->refusing, otherPort) != server_->refusing.end();
        if (!isThere || isRefused) {
            return -EIO;
        }
        static_cast<FakeJackServer::OwnPort*>(port)->connectedTo = otherPort;
        return kMIDISuccess;
    }

private:
    static FakeJackServer::OwnPort& portOf(void* buffer) { return *static_cast<FakeJackServer::OwnPort*>(buffer); }

    std::uint32_t periodStart() override { return server_->frame; }
    void* buffer(void* port, std::uint32_t /*frames*/) override {
        const auto isIt = [port](const auto& own) { return own.get() == port; };
        return std::ranges::any_of(server_->ownPorts, isIt) ? port : nullptr;
    }
    std::uint32_t eventCount(void* buffer) override { return static_cast<std::uint32_t>(portOf(buffer).buffer.size()); }
    bool event(void* buffer, std::uint32_t index, JackEvent& event) override {
        const FakeJackEvent& stored = portOf(buffer).buffer[index];
        event = {.time = stored.time, .bytes = stored.bytes};
        return true;
    }
    void clear(void* buffer) override { portOf(buffer).buffer.clear(); }
    std::size_t maxEventSize(void* /*buffer*/) override { return server_->maxEvent; }
    std::uint8_t* reserve(void* buffer, std::uint32_t time, std::size_t size) override {
        auto& events = portOf(buffer).buffer;
        const bool isInOrder = events.empty() || events.back().time <= time;
        if (events.size() >= server_->bufferEvents || size > server_->maxEvent || time >= server_->frames ||
            !isInOrder) {
            return nullptr;
        }
        events.push_back({.time = time, .bytes = std::vector<std::uint8_t>(size)});
        return events.back().bytes.data();
    }

    const std::shared_ptr<FakeJackServer> server_;
};

namespace {

class FakeJackLibrary final : public JackLibrary {
public:
    explicit FakeJackLibrary(std::shared_ptr<FakeJackServer> server) : server_(std::move(server)) {}

    std::unique_ptr<JackClient> open(std::string_view /*name*/, JackEvents events) override {
        ++server_->openCount;
        return server_->isRunning ? std::make_unique<FakeJackClient>(server_, std::move(events)) : nullptr;
    }

private:
    const std::shared_ptr<FakeJackServer> server_;
};

}  // namespace

void FakeJackServer::addSource(std::string portName) {
    ports.push_back({std::move(portName), MIDIEndpointDirection::source, {}, {}});
    events.portsChanged();
}

void FakeJackServer::addDestination(std::string portName) {
    ports.push_back({std::move(portName), MIDIEndpointDirection::destination, {}, {}});
    events.portsChanged();
}

void FakeJackServer::remove(const std::string& portName) {
    std::erase_if(ports, [&](const JackPort& port) { return port.name == portName; });
    for (const auto& own : ownPorts) {
        if (own->connectedTo == portName) {
            own->connectedTo.clear();
        }
    }
    events.portsChanged();
}

void FakeJackServer::runPeriod(std::map<std::string, std::vector<FakeJackEvent>> arriving) {
    for (const auto& own : ownPorts) {
        own->buffer = arriving[own->connectedTo];
    }
    if (buffers_ != nullptr) {
        events.process(*buffers_, frames);
    }
    for (const auto& own : ownPorts) {
        if (own->otherSide == MIDIEndpointDirection::destination) {
            for (FakeJackEvent& event : own->buffer) {
                event.time += frame;
                sent[own->connectedTo].push_back(std::move(event));
            }
            own->buffer.clear();
        }
    }
    frame += frames;
}

void FakeJackServer::shutDown() {
    isRunning = false;
    events.shutdown("it was stopped");
}

std::vector<std::string> FakeJackServer::ownPortNames() const {
    std::vector<std::string> names;
    for (const auto& own : ownPorts) {
        names.push_back(own->name);
    }
    return names;
}

const FakeJackServer::OwnPort* FakeJackServer::connectedTo(const std::string& portName) const {
    const auto found = std::ranges::find_if(ownPorts, [&](const auto& own) { return own->connectedTo == portName; });
    return found != ownPorts.end() ? found->get() : nullptr;
}

std::shared_ptr<JackLibrary> makeFakeJackLibrary(std::shared_ptr<FakeJackServer> server) {
    return std::make_shared<FakeJackLibrary>(std::move(server));
}

}  // namespace corvel::tests
