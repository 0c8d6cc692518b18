#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/ChunkedQueue.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/alsa/EndpointRegistry.hpp"
#include "hosts/alsa/EventCoding.hpp"
#include "hosts/alsa/OutputFlow.hpp"
#include "hosts/alsa/SequencerClient.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>

namespace corvel::hosts {

/// The ALSA host's working state: one client of the sequencer with its ports, subscriptions and traffic.
///
/// Lives on the engine's queue: every operation but the constructor runs there. What is read waits in one queue until
/// it is delivered; announcements of changes wait beside it, and each takes effect only when everything that was read
/// before it has been delivered.
class SequencerService : public std::enable_shared_from_this<SequencerService>, private SequencerOutput {
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

    /// What there is; without a client of its own through one that is closed again.
    [[nodiscard]] std::shared_ptr<const MIDISetup> setup(MIDIListing listing);
    [[nodiscard]] MIDIStatus connectSource(MIDIObjectRef source, MIDIObjectRef connection);
    MIDIStatus disconnectSource(MIDIObjectRef source);
    void send(std::span<MIDISend> messages);

private:
    using SteadyTime = std::chrono::steady_clock::time_point;

    static constexpr const char* kClientName = "Corvel";

    /// How soon a receiver that had no room is tried again.
    static constexpr std::chrono::microseconds kRetryDelay{500};

    /// Arrivals that there is always memory for: eight times what the sequencer keeps.
    static constexpr std::size_t kUsualBurst = 16'384;
    static constexpr std::size_t kArrivalsPerChunk = 256;

    struct Subscription {
        MIDIObjectRef source = 0;
        MIDIObjectRef connection = 0;
        /// False between a disconnect and the end of the queue's current task.
        bool isWanted = true;
        /// False where the sequencer may have ended it.
        bool isCertain = true;
    };

    struct Announcement {
        snd_seq_event_type_t type = SND_SEQ_EVENT_NONE;
        PortAddress address;
        /// How many arrivals were read before it.
        std::uint64_t arrivalsBefore = 0;
    };

    // Client
    void follow();
    [[nodiscard]] int openPortsAgain();
    void reopen();
    void closeClient();

    // Input (SequencerServiceTraffic.cpp)
    void readForThisRound();
    void readWaitingEvents();
    void accept(const snd_seq_event_t& event);
    void acceptAnnouncement(const snd_seq_event_t& event);
    void noteOverrun();
    void noteReadFailure(int status);
    /// Sees to it that what was read is delivered, and what was announced takes effect.
    void scheduleTurn();
    void runTurn();
    void deliver(std::size_t limit);
    void deliverUntil(std::uint64_t count);
    /// Between the steps of long work: reads and delivers, so that no note waits for the end of it.
    void keepMIDIGoing();

    // Announcements (SequencerServiceSetup.cpp)
    void applyAnnouncements();
    void apply(const Announcement& announcement);
    void applyPortEnd(const PortAddress& address);
    /// Whether the port can be taken over; otherwise looks at it again soon.
    [[nodiscard]] bool isReady(const PortDescription& port);
    void takeOverPort(const PortAddress& address);
    void retryPorts();
    /// Whether the port's end has been read and not yet taken effect.
    [[nodiscard]] bool hasEnded(const PortAddress& address) const;
    void scan();
    void notifyPort(std::int32_t messageID, const PortAddress& address);
    void notify(const MIDINotification& notification);
    void sendNotification();

    // Subscriptions (SequencerServiceSetup.cpp)
    void lookBetweenSteps();
    void settleSubscriptions();

    // Output (SequencerServiceTraffic.cpp)
    [[nodiscard]] MIDIStatus subscribeOutput(const PortAddress& destination);
    void prepareSend(MIDISend& message, SteadyTime now);
    void scheduleSendingWaiting();
    void sendWaiting();
    void diagnose(std::string message, MIDIStatus status = kMIDISuccess) const;

    /// Posts one of this object's operations; nothing happens if the object is gone by then.
    void post(void (SequencerService::*operation)());
    void postAfter(std::chrono::nanoseconds delay, void (SequencerService::*operation)());

    std::size_t send(std::span<snd_seq_event_t> events, int& status) override;
    std::optional<InputPool> inputPool(int client) override;

    const std::shared_ptr<EventLoop> queue_;
    const std::shared_ptr<DispatchQueue> mainQueue_;
    MIDIHost::DiagnosticHandler reportDiagnostic_;
    MIDIHost::NotificationHandler notificationHandler_;
    MIDIHost::ReceiveHandler receiveHandler_;

    std::unique_ptr<SequencerClient> client_;
    std::optional<std::string> inputPortName_;
    std::optional<std::string> outputPortName_;
    /// Whether the log says that the sequencer cannot be opened again.
    bool hasReportedClosed_ = false;
    int inputPort_ = -1;
    int outputPort_ = -1;
    int announcementPort_ = -1;

    EventDecoder decoder_;
    ChunkedQueue<MIDIArrival, kArrivalsPerChunk> arrivals_{kUsualBurst};
    std::size_t arrivedBytes_ = 0;
    /// False without a client, and once reading has failed for good.
    bool isReadable_ = false;
    std::uint64_t readCount_ = 0;
    std::uint64_t deliveredCount_ = 0;
    bool isTurnScheduled_ = false;
    /// While set, nothing is delivered: the engine is in the middle of a delivery or a send.
    bool isDelivering_ = false;
    std::size_t overrunCount_ = 0;

    std::deque<Announcement> announcements_;
    bool mayHaveMissedPorts_ = false;
    EndpointRegistry registry_;
    /// Ports whose sound card has no details yet, with the number of looks at each.
    std::map<PortAddress, unsigned> unreadyPorts_;
    bool isRetryScheduled_ = false;
    /// The next notification for the main thread, and whether the one before is still being handled.
    std::optional<MIDINotification> nextNotification_;
    bool isNotifying_ = false;

    /// By the source's address.
    std::unordered_map<PortAddress, Subscription> subscriptions_;
    bool isSettlingScheduled_ = false;
    unsigned stepsSinceLook_ = 0;
    /// Hardware destinations that the output port was subscribed to, with the result.
    std::map<PortAddress, MIDIStatus> outputSubscriptions_;
    OutputFlow flow_{*this};
    bool isSendingScheduled_ = false;
    std::size_t reportedLateFailures_ = 0;
    std::size_t sendsSinceLook_ = 0;
};

}  // namespace corvel::hosts
