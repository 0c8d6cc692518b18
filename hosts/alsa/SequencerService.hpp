#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"
#include "core/support/WarmRing.hpp"
#include "hosts/alsa/DeviceTree.hpp"
#include "hosts/alsa/EndpointRegistry.hpp"
#include "hosts/alsa/EventCoding.hpp"
#include "hosts/alsa/OutputFlow.hpp"
#include "hosts/alsa/SequencerClient.hpp"

#include <boost/circular_buffer.hpp>

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace corvel::hosts {

/// The ALSA host's working state: one client of the sequencer with its ports, subscriptions and traffic.
///
/// Lives on the engine's queue: every operation but the constructor runs there. Reading never changes what is known of
/// ports, so that a send may look for input without pulling the ground from under itself.
class SequencerService : public std::enable_shared_from_this<SequencerService>, private EventSink {
public:
    SequencerService(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue);

    /// Before anything else happens on the queue.
    void setDiagnosticHandler(MIDIHost::DiagnosticHandler handler) { reportDiagnostic_ = std::move(handler); }

    /// Takes over an open client: reads it from now on, and follows the sequencer's announcements.
    void adopt(std::unique_ptr<SequencerClient> client, MIDIHost::NotificationHandler handler);
    [[nodiscard]] MIDICreation createInputPort(std::string_view name, MIDIHost::ReceiveHandler handler);
    [[nodiscard]] MIDICreation createOutputPort(std::string_view name);
    void disposePort(MIDIObjectRef port);
    /// Sends what waits, for a moment, then closes the client.
    void disposeClient();

    /// Looks at all ports afresh; without a client of its own through one that is closed again.
    void rescan();
    [[nodiscard]] const EndpointRegistry& registry() const { return registry_; }
    [[nodiscard]] const DeviceTree& deviceTree() const { return deviceTree_; }
    void rebuildDeviceTree();

    [[nodiscard]] MIDIStatus connectSource(MIDIObjectRef source, MIDIObjectRef connection);
    MIDIStatus disconnectSource(MIDIObjectRef source);
    [[nodiscard]] MIDIStatus send(MIDIObjectRef destination, std::span<const std::uint8_t> packet);
    /// Lets output subscriptions that failed be tried again.
    void retryFailedOutputs();

private:
    /// How soon a receiver that had no room is tried again.
    static constexpr std::chrono::microseconds kRetryDelay{500};

    /// Arrivals that there is always memory for: eight times what the sequencer keeps.
    static constexpr std::size_t kUsualBurst = 16'384;

    struct Subscription {
        MIDIObjectRef source = 0;
        MIDIObjectRef connection = 0;
        /// False between a disconnect and the end of the queue's current task.
        bool isWanted = true;
    };

    struct Arrival {
        MIDIObjectRef connection = 0;
        MIDIBytes bytes;
    };

    struct Announcement {
        snd_seq_event_type_t type = SND_SEQ_EVENT_NONE;
        PortAddress address;
    };

    // Input (SequencerServiceTraffic.cpp)
    void handleReady();
    void readWaitingEvents();
    void accept(const snd_seq_event_t& event);
    /// Sees to it that what has arrived is delivered, wherever it was read.
    void scheduleDelivery();
    void deliverArrivals();
    void noteOverrun();

    // Announcements
    /// Makes what is known of ports agree with all that has been read, so that no reference and no message that waits
    /// reaches a port that came after the one it was meant for.
    void catchUp();
    void handleAnnouncements();
    /// Whether the port's end has been read and not yet been handled.
    [[nodiscard]] bool hasEnded(const PortAddress& address) const;
    void handle(const Announcement& announcement);
    void handlePortEnd(const PortAddress& address);
    /// Takes over the ports that there are now after the pool overran, and announcements were lost with it.
    void updateAfterMissedPorts();
    void notifyPort(std::int32_t messageID, const PortAddress& address, bool hasSource, bool hasDestination,
                    bool isHardware);
    void notify(const MIDINotification& notification);

    // Subscriptions, and output (SequencerServiceTraffic.cpp)
    void settleSubscriptions();
    [[nodiscard]] MIDIStatus subscribeOutput(const Endpoint& destination);
    void scheduleSendingWaiting();
    void sendWaiting();
    void diagnose(std::string message) const;

    /// Posts one of this object's operations; nothing happens if the object is gone by then.
    void post(void (SequencerService::*operation)());

    int sendDirectly(const PortAddress& destination, snd_seq_event_t& event) override;
    std::optional<InputRoom> inputRoom(int client) override;
    [[nodiscard]] std::chrono::steady_clock::time_point now() const override;

    const std::shared_ptr<EventLoop> queue_;
    const std::shared_ptr<DispatchQueue> mainQueue_;
    MIDIHost::DiagnosticHandler reportDiagnostic_;
    MIDIHost::NotificationHandler notificationHandler_;
    MIDIHost::ReceiveHandler receiveHandler_;

    std::unique_ptr<SequencerClient> client_;
    int inputPort_ = -1;
    int outputPort_ = -1;
    int announcementPort_ = -1;

    EventDecoder decoder_;
    boost::circular_buffer<Arrival> arrivals_ = makeWarmRing(kUsualBurst, Arrival{});
    std::size_t arrivedBytes_ = 0;
    bool isDeliveryScheduled_ = false;
    /// False once reading has failed for good.
    bool isReadable_ = true;
    std::size_t overrunCount_ = 0;

    std::vector<Announcement> announcements_;
    bool mayHaveMissedPorts_ = false;
    std::vector<PortDescription> ports_;
    EndpointRegistry registry_;
    DeviceTree deviceTree_;

    std::map<PortAddress, Subscription> subscriptions_;
    bool isSettlingScheduled_ = false;
    /// Hardware destinations that the output port was subscribed to, with the result.
    std::map<PortAddress, MIDIStatus> outputSubscriptions_;
    OutputFlow flow_{*this};
    bool isSendingScheduled_ = false;
    std::size_t reportedLateFailures_ = 0;
    unsigned sendsSinceLook_ = 0;
};

}  // namespace corvel::hosts
