#include "hosts/demo/DemoMIDIHost.hpp"

#include "hosts/demo/DemoDevices.hpp"
#include "hosts/demo/DemoPerformance.hpp"
#include "hosts/demo/DemoSetup.hpp"

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <iterator>
#include <mutex>
#include <thread>
#include <utility>

namespace corvel::hosts {

namespace {

/// The status for a reference that is unknown or of another kind.
constexpr MIDIStatus kNoSuchObject = -ENOENT;
constexpr MIDIStatus kNotConnected = -ENOTCONN;

class DemoService final : public DemoMIDIHost {
public:
    DemoService(std::shared_ptr<DispatchQueue> mainQueue, DemoOptions options)
        : mainQueue_(std::move(mainQueue)), options_(std::move(options)) {
        for (const DemoDeviceDescription& description : kDemoDevices) {
            DemoDevice device;
            device.isSource = description.isSource;
            device.name = description.name;
            device.manufacturer = kDemoManufacturer;
            device.uniqueID = description.uniqueID;
            if (options_.playsByItself && description.piece) {
                device.player.emplace(*description.piece);
            }
            state_->setup.add(std::move(device));
        }
        if (options_.playsByItself) {
            player_ = std::jthread([state = state_](const std::stop_token& stop) { performDemo(stop, *state); });
            ::pthread_setname_np(player_.native_handle(), "app.corvel.demo");
        }
    }
    DemoService(const DemoService&) = delete;
    DemoService& operator=(const DemoService&) = delete;

    ~DemoService() override {
        player_.request_stop();
        if (player_.get_id() == std::this_thread::get_id()) {
            // A receive handler has released the service. The playing thread shares the state and ends after that call.
            player_.detach();
        }
    }

    void setDiagnosticHandler(DiagnosticHandler handler) override {
        const std::lock_guard lock(state_->mutex);
        diagnosticHandler_ = std::move(handler);
    }

    MIDICreation createClient(std::string_view /*name*/, NotificationHandler handler) override {
        DiagnosticHandler diagnosticHandler;
        std::string notice;
        MIDIObjectRef ref = 0;
        {
            const std::lock_guard lock(state_->mutex);
            ref = state_->setup.newRef();
            state_->setup.clients.push_back({ref, std::make_shared<const NotificationHandler>(std::move(handler))});
            diagnosticHandler = diagnosticHandler_;
            notice = std::exchange(options_.notice, {});
        }
        if (diagnosticHandler && !notice.empty()) {
            diagnosticHandler(std::move(notice), kMIDISuccess);
        }
        return {kMIDISuccess, ref};
    }

    MIDICreation createInputPort(MIDIObjectRef client, std::string_view /*name*/, ReceiveHandler handler) override {
        return createPort(client, std::make_shared<const ReceiveHandler>(std::move(handler)));
    }

    MIDICreation createOutputPort(MIDIObjectRef client, std::string_view /*name*/) override {
        return createPort(client, nullptr);
    }

    void disposePort(MIDIObjectRef port) override {
        removePorts([port](const DemoPort& candidate) { return candidate.ref == port; });
    }

    void disposeClient(MIDIObjectRef client) override {
        removePorts([client](const DemoPort& candidate) { return candidate.client == client; });
        // Destroyed after the lock is released, because the destructor of its handler may call the service.
        DemoClient removed;
        const std::lock_guard lock(state_->mutex);
        if (DemoClient* found = state_->setup.client(client); found != nullptr) {
            removed = std::move(*found);
            std::erase_if(state_->setup.clients, [](const DemoClient& candidate) { return !candidate.handler; });
        }
    }

    std::shared_ptr<const MIDISetup> setup(MIDIListing /*listing*/) override {
        const std::lock_guard lock(state_->mutex);
        return std::make_shared<const MIDISetup>(state_->setup.records());
    }

    MIDIStatus connectSource(MIDIObjectRef port, MIDIObjectRef source, MIDIObjectRef connection) override {
        const std::lock_guard lock(state_->mutex);
        DemoPort* found = state_->setup.port(port);
        const DemoDevice* device = state_->setup.withEndpoint(source);
        if (found == nullptr || !found->handler || device == nullptr || !device->isSource) {
            return kNoSuchObject;
        }
        found->connections[source] = connection;
        state_->changed.notify_all();
        return kMIDISuccess;
    }

    MIDIStatus disconnectSource(MIDIObjectRef port, MIDIObjectRef source) override {
        const std::lock_guard lock(state_->mutex);
        DemoPort* found = state_->setup.port(port);
        if (found == nullptr || !found->handler) {
            return kNoSuchObject;
        }
        return found->connections.erase(source) > 0 ? kMIDISuccess : kNotConnected;
    }

    void send(MIDIObjectRef port, std::span<MIDISend> messages) override {
        const std::lock_guard lock(state_->mutex);
        const DemoPort* found = state_->setup.port(port);
        for (MIDISend& message : messages) {
            DemoDevice* device = state_->setup.withEndpoint(message.destination);
            if (found == nullptr || found->handler || device == nullptr || device->isSource) {
                message.status = kNoSuchObject;
                continue;
            }
            // As with a cable that leads nowhere, the send succeeds and nothing arrives.
            if (!device->isOffline) {
                ++device->traffic.packets;
                device->traffic.bytes += message.bytes.size();
            }
            message.status = kMIDISuccess;
        }
    }

    MIDIObjectRef addSource(std::string name, std::optional<std::string> manufacturer, std::int32_t uniqueID) override {
        return addEndpoint(true, std::move(name), std::move(manufacturer), uniqueID);
    }

    MIDIObjectRef addDestination(std::string name, std::optional<std::string> manufacturer,
                                 std::int32_t uniqueID) override {
        return addEndpoint(false, std::move(name), std::move(manufacturer), uniqueID);
    }

    void removeEndpoint(MIDIObjectRef endpoint) override {
        const std::lock_guard lock(state_->mutex);
        if (DemoDevice* device = state_->setup.withEndpoint(endpoint); device != nullptr) {
            endPiece(*device);
            const MIDINotification notification = describe(MIDINotification::kObjectRemoved, *device);
            state_->setup.removeDevice(endpoint);
            notifyClients(notification);
        }
    }

    void setOffline(MIDIObjectRef endpoint, bool isOffline) override {
        const std::lock_guard lock(state_->mutex);
        if (DemoDevice* device = state_->setup.withEndpoint(endpoint);
            device != nullptr && device->isOffline != isOffline) {
            endPiece(*device);
            device->isOffline = isOffline;
            state_->changed.notify_all();
            notifyClients({.messageID = MIDINotification::kPropertyChanged});
        }
    }

    void play(MIDIObjectRef source, std::vector<std::uint8_t> bytes) override {
        std::vector<DemoDelivery> deliveries;
        {
            const std::lock_guard lock(state_->mutex);
            const DemoDevice* device = state_->setup.withEndpoint(source);
            if (device != nullptr && !device->isOffline) {
                state_->setup.deliver(*device, {MIDIBytes(bytes.begin(), bytes.end())}, deliveries);
            }
        }
        for (const DemoDelivery& delivery : deliveries) {
            delivery.perform();
        }
    }

    DemoTraffic traffic(MIDIObjectRef destination) const override {
        const std::lock_guard lock(state_->mutex);
        const DemoDevice* device = state_->setup.withEndpoint(destination);
        return device == nullptr ? DemoTraffic{} : device->traffic;
    }

private:
    MIDICreation createPort(MIDIObjectRef client, std::shared_ptr<const ReceiveHandler> handler) {
        const std::lock_guard lock(state_->mutex);
        if (state_->setup.client(client) == nullptr) {
            return {kNoSuchObject, 0};
        }
        const MIDIObjectRef ref = state_->setup.newRef();
        state_->setup.ports.push_back({ref, client, std::move(handler), {}});
        return {kMIDISuccess, ref};
    }

    template <typename Predicate>
    void removePorts(Predicate predicate) {
        // Destroyed after the lock is released, because the destructors of their handlers may call the service.
        std::vector<DemoPort> removed;
        const std::lock_guard lock(state_->mutex);
        std::vector<DemoPort>& ports = state_->setup.ports;
        const auto first = std::stable_partition(ports.begin(), ports.end(), std::not_fn(predicate));
        removed.assign(std::make_move_iterator(first), std::make_move_iterator(ports.end()));
        ports.erase(first, ports.end());
    }

    MIDIObjectRef addEndpoint(bool isSource, std::string name, std::optional<std::string> manufacturer,
                              std::int32_t uniqueID) {
        const std::lock_guard lock(state_->mutex);
        DemoDevice device;
        device.isSource = isSource;
        device.name = std::move(name);
        device.manufacturer = std::move(manufacturer);
        device.uniqueID = uniqueID;
        const DemoDevice& added = state_->setup.add(std::move(device));
        notifyClients(describe(MIDINotification::kObjectAdded, added));
        return added.endpoint;
    }

    static MIDINotification describe(std::int32_t messageID, const DemoDevice& device) {
        return {.messageID = messageID,
                .parent = device.entity,
                .parentType = MIDINotification::kEntity,
                .child = device.endpoint,
                .childType = device.isSource ? MIDINotification::kSource : MIDINotification::kDestination};
    }

    /// Makes the playing thread end the device's piece. Under the lock, while the listeners are still connected.
    void endPiece(DemoDevice& device) {
        if (device.player) {
            state_->setup.deliver(device, device.player->end(), state_->endings);
        }
    }

    /// Under the lock, so that notifications come in the order of the changes.
    void notifyClients(const MIDINotification& notification) {
        for (const DemoClient& client : state_->setup.clients) {
            mainQueue_->async([weakState = std::weak_ptr(state_), ref = client.ref, notification] {
                std::shared_ptr<const NotificationHandler> handler;
                if (const auto state = weakState.lock()) {
                    const std::lock_guard lock(state->mutex);
                    if (const DemoClient* found = state->setup.client(ref); found != nullptr) {
                        handler = found->handler;
                    }
                }
                if (handler && *handler) {
                    (*handler)(notification);
                }
            });
        }
    }

    const std::shared_ptr<DispatchQueue> mainQueue_;
    DemoOptions options_;
    const std::shared_ptr<DemoState> state_ = std::make_shared<DemoState>();
    DiagnosticHandler diagnosticHandler_;
    /// The last member, so that it ends before the members that it uses.
    std::jthread player_;
};

}  // namespace

std::shared_ptr<DemoMIDIHost> makeDemoMIDIHost(std::shared_ptr<DispatchQueue> mainQueue, DemoOptions options) {
    return std::make_shared<DemoService>(std::move(mainQueue), std::move(options));
}

}  // namespace corvel::hosts
