#include "hosts/alsa/ALSAMIDIHost.hpp"

#include "hosts/alsa/ObjectReference.hpp"
#include "hosts/alsa/SequencerService.hpp"

#include <utility>

namespace corvel::hosts {

namespace {

/// Passes the engine's requests to the service. Posts those from other threads to the queue.
class ALSAMIDIHost final : public MIDIHost {
public:
    ALSAMIDIHost(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue,
                 RealtimeBroker realtimeBroker)
        : queue_(queue),
          service_(
              std::make_shared<SequencerService>(std::move(queue), std::move(mainQueue), std::move(realtimeBroker))) {}

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

    // These tasks keep the service alive until they have run, because it must still send what is waiting.
    void disposePort(MIDIObjectRef port) override {
        queue_->async([service = service_, port] { service->disposePort(port); });
    }
    void disposeClient(MIDIObjectRef) override {
        queue_->async([service = service_] { service->disposeClient(); });
    }

    std::shared_ptr<const MIDISetup> setup(MIDIListing listing) override { return service_->setup(listing); }
    MIDIStatus connectSource(MIDIObjectRef, MIDIObjectRef source, MIDIObjectRef connection) override {
        return service_->connectSource(source, connection);
    }
    MIDIStatus disconnectSource(MIDIObjectRef, MIDIObjectRef source) override {
        return service_->disconnectSource(source);
    }
    void send(MIDIObjectRef, std::span<MIDISend> messages) override { service_->send(messages); }

private:
    const std::shared_ptr<EventLoop> queue_;
    const std::shared_ptr<SequencerService> service_;
};

}  // namespace

std::shared_ptr<MIDIHost> makeALSAMIDIHost(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue,
                                           RealtimeBroker realtimeBroker) {
    return std::make_shared<ALSAMIDIHost>(std::move(queue), std::move(mainQueue), std::move(realtimeBroker));
}

}  // namespace corvel::hosts
