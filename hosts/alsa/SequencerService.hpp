#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/ChunkedQueue.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/RealtimeBroker.hpp"
#include "hosts/RealtimePriority.hpp"
#include "hosts/SetupNotifications.hpp"
#include "hosts/alsa/EndpointRegistry.hpp"
#include "hosts/alsa/EventCoding.hpp"
#include "hosts/alsa/OutputFlow.hpp"
#include "hosts/alsa/OverrunWarning.hpp"
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

/// The state of the ALSA host: one client of the sequencer with its ports, subscriptions and traffic.
///
/// Every operation except the constructor runs on the engine's queue. Arrivals wait in one queue until they are
/// delivered. Announcements of changes wait beside it; each takes effect only after everything that was read before it
/// has been delivered.
class SequencerService : public std::enable_shared_from_this<SequencerService>, private SequencerOutput {
public:
    SequencerService(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue,
                     RealtimeBroker realtimeBroker);

    /// Must be called before anything else on the queue.
    void setDiagnosticHandler(MIDIHost::DiagnosticHandler handler) { reportDiagnostic_ = std::move(handler); }

    /// Takes an open client, reads it from now on, and follows the sequencer's announcements.
    void adopt(std::unique_ptr<SequencerClient> client, MIDIHost::NotificationHandler handler);
    [[nodiscard]] MIDICreation createInputPort(std::string_view name, MIDIHost::ReceiveHandler handler);
    [[nodiscard]] MIDICreation createOutputPort(std::string_view name);
    void disposePort(MIDIObjectRef port);
    /// Sends waiting events for a short time, then closes the client.
    void disposeClient();

    /// The current setup. Without a client, opens one for the purpose.
    [[nodiscard]] std::shared_ptr<const MIDISetup> setup(MIDIListing listing);
    [[nodiscard]] MIDIStatus connectSource(MIDIObjectRef source, MIDIObjectRef connection);
    MIDIStatus disconnectSource(MIDIObjectRef source);
    void send(std::span<MIDISend> messages);

private:
    using SteadyTime = std::chrono::steady_clock::time_point;

    static constexpr const char* kClientName = "Corvel";

    /// Delay before another try to send to a receiver without room.
    static constexpr std::chrono::microseconds kRetryDelay{500};

    /// Number of arrivals with memory allocated in advance: eight times the sequencer's buffer.
    static constexpr std::size_t kUsualBurst = 16'384;
    static constexpr std::size_t kArrivalsPerChunk = 256;

    /// Maximum number of arrivals given to the engine in one call, and before other work of the queue gets its turn.
    static constexpr std::size_t kArrivalsPerTurn = 64;

    struct Subscription {
        MIDIObjectRef source = 0;
        MIDIObjectRef connection = 0;
        /// False from a disconnect until the end of the queue's current task.
        bool isWanted = true;
        /// False if the sequencer may have ended the subscription.
        bool isCertain = true;
        /// The number of messages since the last reload.
        std::uint64_t arrivalCount = 0;
    };

    struct Announcement {
        snd_seq_event_type_t type = SND_SEQ_EVENT_NONE;
        PortAddress address;
        /// The number of arrivals read before it.
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
    void warnOfOverruns();
    /// The name of the source of most of the latest messages.
    [[nodiscard]] std::optional<std::string> mostActiveSourceName();
    void noteReadFailure(int status);
    /// Schedules the delivery of what was read and the effect of what was announced.
    void scheduleTurn();
    void runTurn();
    void deliver(std::size_t limit);
    void deliverUntil(std::uint64_t count);
    /// Called between the steps of long work, so that notes do not wait for its end: reads, and delivers a turn's
    /// arrivals.
    void keepMIDIGoing();

    // Announcements (SequencerServiceSetup.cpp)
    void applyAnnouncements(std::uint64_t arrivals);
    void apply(const Announcement& announcement);
    void applyPortEnd(const PortAddress& address);
    void applyClientChange(int client);
    /// Whether the port can be added; otherwise schedules another try.
    [[nodiscard]] bool isReady(const PortDescription& port);
    void takeOverPort(const PortAddress& address);
    void retryPorts();
    /// Whether the port's end has been announced but has not taken effect yet.
    [[nodiscard]] bool hasEnded(const PortAddress& address) const;
    void scan();
    void notifyPort(std::int32_t messageID, const PortAddress& address);

    // Subscriptions (SequencerServiceSetup.cpp)
    void lookBetweenSteps();
    void settleSubscriptions();

    // Output (SequencerServiceTraffic.cpp)
    [[nodiscard]] MIDIStatus subscribeOutput(const PortAddress& destination);
    void prepareSend(MIDISend& message, SteadyTime now);
    void scheduleSendingWaiting();
    void sendWaiting();
    void diagnose(std::string message, MIDIStatus status = kMIDISuccess) const;

    /// Posts one of this object's operations. It does not run if the object no longer exists then.
    void post(void (SequencerService::*operation)());
    void postAfter(std::chrono::nanoseconds delay, void (SequencerService::*operation)());

    std::size_t send(std::span<snd_seq_event_t> events, int& status) override;
    std::optional<InputPool> inputPool(int client) override;

    const std::shared_ptr<EventLoop> queue_;
    const std::shared_ptr<SetupNotifications> notifications_;
    const std::shared_ptr<RealtimePriority> priority_;
    MIDIHost::DiagnosticHandler reportDiagnostic_;
    MIDIHost::ReceiveHandler receiveHandler_;

    std::unique_ptr<SequencerClient> client_;
    std::optional<std::string> inputPortName_;
    std::optional<std::string> outputPortName_;
    /// Whether the failure to open the sequencer again has been reported.
    bool hasReportedClosed_ = false;
    int inputPort_ = -1;
    int outputPort_ = -1;
    int announcementPort_ = -1;

    EventDecoder decoder_;
    ChunkedQueue<MIDIArrival, kArrivalsPerChunk> arrivals_{kUsualBurst};
    std::size_t arrivedBytes_ = 0;
    /// False without a client, and after reading has failed permanently.
    bool isReadable_ = false;
    std::uint64_t readCount_ = 0;
    std::uint64_t deliveredCount_ = 0;
    bool isTurnScheduled_ = false;
    /// While true, nothing is delivered, because the engine is in the middle of a delivery or a send.
    bool isDelivering_ = false;
    std::size_t overrunCount_ = 0;
    OverrunWarning overrunWarning_;

    std::deque<Announcement> announcements_;
    bool mayHaveMissedPorts_ = false;
    EndpointRegistry registry_;
    /// Ports whose sound card has no details yet, with the number of tries for each.
    std::map<PortAddress, unsigned> unreadyPorts_;
    bool isRetryScheduled_ = false;

    /// By the source's address.
    std::unordered_map<PortAddress, Subscription> subscriptions_;
    bool isSettlingScheduled_ = false;
    unsigned stepsSinceLook_ = 0;
    /// The result of subscribing the output port to each hardware destination.
    std::map<PortAddress, MIDIStatus> outputSubscriptions_;
    OutputFlow flow_{*this};
    bool isSendingScheduled_ = false;
    std::size_t reportedLateFailures_ = 0;
    std::size_t sendsSinceLook_ = 0;
    std::size_t sendsSinceShare_ = 0;
};

}  // namespace corvel::hosts
