#include "hosts/alsa/ALSAMIDIHost.hpp"

#include "hosts/alsa/ObjectReference.hpp"
#include "hosts/alsa/SequencerService.hpp"

#include <system_error>
#include <utility>

namespace corvel::hosts {

namespace {

/// Speaks the engine's language to the service, and brings what comes from other threads to the queue.
class ALSAMIDIHost final : public MIDIHost {
public:
    ALSAMIDIHost(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue)
        : queue_(queue), service_(std::make_shared<SequencerService>(std::move(queue), std::move(mainQueue))) {}

    void setDiagnosticHandler(DiagnosticHandler handler) override {
        service_->setDiagnosticHandler(std::move(handler));
    }

    MIDICreation createClient(std::string_view name, NotificationHandler handler) override {
        int status = 0;
        std::unique_ptr<SequencerClient> client = SequencerClient::open(name, status);
        if (!client) {
            return {.status = status};
        }
        const MIDIObjectRef ref = objectReference(ObjectKind::client, client->number());
        queue_->async([service = service_, client = std::move(client), handler = std::move(handler)]() mutable {
            service->adopt(std::move(client), std::move(handler));
        });
        return {.ref = ref};
    }

    MIDICreation createInputPort(MIDIObjectRef, std::string_view name, ReceiveHandler handler) override {
        return service_->createInputPort(name, std::move(handler));
    }
    MIDICreation createOutputPort(MIDIObjectRef, std::string_view name) override {
        return service_->createOutputPort(name);
    }

    // These keep the service alive until they have run: it still has to send what waits.
    void disposePort(MIDIObjectRef port) override {
        queue_->async([service = service_, port] { service->disposePort(port); });
    }
    void disposeClient(MIDIObjectRef) override {
        queue_->async([service = service_] { service->disposeClient(); });
    }

    unsigned sourceCount() override {
        service_->rescan();
        return static_cast<unsigned>(service_->registry().sources().size());
    }
    MIDIObjectRef source(unsigned index) override { return refAt(service_->registry().sources(), index); }
    unsigned destinationCount() override {
        service_->rescan();
        service_->retryFailedOutputs();
        return static_cast<unsigned>(service_->registry().destinations().size());
    }
    MIDIObjectRef destination(unsigned index) override { return refAt(service_->registry().destinations(), index); }

    std::optional<std::string> displayName(MIDIObjectRef object) override {
        if (const Endpoint* endpoint = service_->registry().find(object)) {
            return endpoint->displayName;
        }
        return name(object);
    }
    std::optional<std::string> name(MIDIObjectRef object) override {
        if (const Endpoint* endpoint = service_->registry().find(object)) {
            return endpoint->name;
        }
        if (const DeviceTree::Device* device = service_->deviceTree().findDevice(object)) {
            return device->name;
        }
        if (const DeviceTree::Entity* entity = service_->deviceTree().findEntity(object)) {
            return entity->name;
        }
        return std::nullopt;
    }
    std::optional<std::string> manufacturer(MIDIObjectRef object) override {
        const Endpoint* endpoint = service_->registry().find(object);
        return endpoint != nullptr ? endpoint->manufacturer : std::nullopt;
    }
    std::optional<std::int32_t> uniqueID(MIDIObjectRef object) override {
        const Endpoint* endpoint = service_->registry().find(object);
        return endpoint != nullptr ? std::optional(endpoint->uniqueID) : std::nullopt;
    }
    std::optional<bool> isOffline(MIDIObjectRef object) override {
        const Endpoint* endpoint = service_->registry().find(object);
        return endpoint != nullptr ? std::optional(endpoint->isOffline) : std::nullopt;
    }

    MIDIStatus connectSource(MIDIObjectRef, MIDIObjectRef source, MIDIObjectRef connection) override {
        return service_->connectSource(source, connection);
    }
    MIDIStatus disconnectSource(MIDIObjectRef, MIDIObjectRef source) override {
        return service_->disconnectSource(source);
    }

    unsigned deviceCount() override {
        service_->rebuildDeviceTree();
        return static_cast<unsigned>(service_->deviceTree().devices.size());
    }
    MIDIObjectRef device(unsigned index) override { return refAt(service_->deviceTree().devices, index); }
    unsigned externalDeviceCount() override { return 0; }
    MIDIObjectRef externalDevice(unsigned) override { return 0; }
    unsigned entityCount(MIDIObjectRef device) override {
        const DeviceTree::Device* found = service_->deviceTree().findDevice(device);
        return found != nullptr ? static_cast<unsigned>(found->entities.size()) : 0;
    }
    MIDIObjectRef entity(MIDIObjectRef device, unsigned index) override {
        const DeviceTree::Device* found = service_->deviceTree().findDevice(device);
        return found != nullptr ? refAt(found->entities, index) : 0;
    }
    unsigned entitySourceCount(MIDIObjectRef entity) override {
        const DeviceTree::Entity* found = service_->deviceTree().findEntity(entity);
        return found != nullptr ? static_cast<unsigned>(found->sources.size()) : 0;
    }
    MIDIObjectRef entitySource(MIDIObjectRef entity, unsigned index) override {
        const DeviceTree::Entity* found = service_->deviceTree().findEntity(entity);
        return found != nullptr && index < found->sources.size() ? found->sources[index] : 0;
    }
    unsigned entityDestinationCount(MIDIObjectRef entity) override {
        const DeviceTree::Entity* found = service_->deviceTree().findEntity(entity);
        return found != nullptr ? static_cast<unsigned>(found->destinations.size()) : 0;
    }
    MIDIObjectRef entityDestination(MIDIObjectRef entity, unsigned index) override {
        const DeviceTree::Entity* found = service_->deviceTree().findEntity(entity);
        return found != nullptr && index < found->destinations.size() ? found->destinations[index] : 0;
    }

    std::optional<MIDIPacket> makePacket(std::span<const std::uint8_t> bytes) override {
        return MIDIPacket{MIDIBytes(bytes.begin(), bytes.end())};
    }
    MIDIStatus send(MIDIObjectRef, MIDIObjectRef destination, const MIDIPacket& packet) override {
        return service_->send(destination, packet.bytes);
    }

private:
    template <typename Object>
    static MIDIObjectRef refAt(const std::vector<Object>& objects, unsigned index) {
        return index < objects.size() ? objects[index].ref : 0;
    }

    const std::shared_ptr<EventLoop> queue_;
    const std::shared_ptr<SequencerService> service_;
};

}  // namespace

std::optional<std::string> alsaSequencerProblem() {
    int status = 0;
    if (SequencerClient::open("Corvel", status)) {
        return std::nullopt;
    }
    return "the ALSA sequencer cannot be opened (/dev/snd/seq: " + std::system_category().message(-status) + ")";
}

std::shared_ptr<MIDIHost> makeALSAMIDIHost(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue) {
    return std::make_shared<ALSAMIDIHost>(std::move(queue), std::move(mainQueue));
}

}  // namespace corvel::hosts
