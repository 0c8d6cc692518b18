#pragma once

#include "core/engine/EndpointTraffic.hpp"
#include "core/engine/MIDIEndpointModel.hpp"
#include "core/engine/MIDIReportQueue.hpp"
#include "core/engine/MIDIRouterEngineDelegate.hpp"
#include "core/engine/RouteTable.hpp"
#include "core/engine/SendFailures.hpp"
#include "core/host/MIDIHost.hpp"
#include "core/messages/RoutedMIDIMessage.hpp"
#include "core/routes/MIDIRoute.hpp"
#include "core/support/Clock.hpp"
#include "core/support/DispatchQueue.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {

/// The system's endpoints at one moment, in the system's order.
struct MIDIEndpoints {
    std::vector<MIDIEndpointModel> sources;
    std::vector<MIDIEndpointModel> destinations;

    bool operator==(const MIDIEndpoints&) const = default;
};

/// Routes MIDI: receives from every source, sends each packet through every matching connection, follows changes of the
/// MIDI setup, and reports all of it to its delegate.
///
/// All mutable state belongs to the engine's serial queue, whose tasks never block. A service that receives on its own
/// thread copies the packets and posts them there; a service that receives on the engine's queue delivers at once.
/// Posted tasks hold the engine weakly. There is no stop operation: releasing the last reference, on any thread,
/// disposes of the ports and the client.
class CoreMIDIRouterEngine : public std::enable_shared_from_this<CoreMIDIRouterEngine> {
    struct Private {
        explicit Private() = default;
    };

public:
    /// Time from the last change of the setup to the settled reload.
    static constexpr std::chrono::milliseconds kSettleDelay{350};
    /// Maximum time for which the main thread passes on reports before other work gets its turn.
    static constexpr std::chrono::milliseconds kReportTurn{5};
    /// Time between two summaries of repeated events: equal failures, dropped reports.
    static constexpr std::chrono::seconds kSummaryInterval{1};
    /// Maximum number of messages that are given to the service in one call.
    static constexpr std::size_t kMessagesPerSend = 64;
    /// Time between two messages of `silence` to the same destination: a MIDI cable takes 0.96 ms for 3 bytes, and some
    /// devices have no buffer for more.
    static constexpr std::chrono::milliseconds kSilencePause{1};

    /// Creates an engine without using the service. `queue` becomes the engine's serial queue, `mainQueue` carries all
    /// reports, `clock` stamps them.
    [[nodiscard]] static std::shared_ptr<CoreMIDIRouterEngine> create(std::shared_ptr<MIDIHost> host,
                                                                      std::shared_ptr<DispatchQueue> queue,
                                                                      std::shared_ptr<DispatchQueue> mainQueue,
                                                                      std::shared_ptr<const Clock> clock);

    CoreMIDIRouterEngine(Private, std::shared_ptr<MIDIHost> host, std::shared_ptr<DispatchQueue> queue,
                         std::shared_ptr<DispatchQueue> mainQueue, std::shared_ptr<const Clock> clock);
    CoreMIDIRouterEngine(const CoreMIDIRouterEngine&) = delete;
    CoreMIDIRouterEngine& operator=(const CoreMIDIRouterEngine&) = delete;
    ~CoreMIDIRouterEngine();

    /// Receiver of all reports, held weakly. Main thread only.
    void setDelegate(std::weak_ptr<MIDIRouterEngineDelegate> delegate);
    [[nodiscard]] std::shared_ptr<MIDIRouterEngineDelegate> delegate() const;

    /// Creates the client on the main thread, then the ports on the queue, and loads the endpoints. Any thread. Once
    /// the client exists, later calls do nothing, even if a port could not be created.
    void start();

    /// Whether client and ports exist. Waits for the engine's queue, so it must not be called from there.
    [[nodiscard]] bool isStarted();

    /// Replaces all connections. Any thread, any time; each delivery uses either the old list or the new one.
    void updateRoutes(std::vector<MIDIRoute> routes);

    /// Lists the current endpoints. Works before `start()` and without a service. Waits for the engine's queue, so it
    /// must not be called from there.
    [[nodiscard]] MIDIEndpoints endpoints();

    /// Reloads the endpoints and connects every source again, then reports that the endpoints changed. Any thread.
    void reloadEndpoints();

    /// Sets whether held notes and sustain pedals are released when their connection is switched to another channel,
    /// paused or deleted, or when its source disappears. Off at first. Any thread.
    void setReleasesHeldNotes(bool releases);

    /// Silences destinations, given by unique ID: ends the notes known to be held there, then sends sustain off, All
    /// Notes Off and All Sound Off on every channel. Skips destinations that do not exist. Calls `onDone`, if given, on
    /// the main queue after the last message; because of `kSilencePause` this takes about 50 ms. Any thread. Before the
    /// engine has started it only calls `onDone`.
    void silence(std::vector<std::int32_t> destinationIDs, std::function<void()> onDone);

    /// The endpoints that have sent or received messages since the last call, connected or not. Any thread; cost
    /// proportional to the number of endpoints.
    [[nodiscard]] ActiveEndpoints takeTraffic() { return routeTable_.takeTraffic(); }

private:
    // Lifecycle
    void startOnMainThread();
    void startPortsOnQueue(MIDIObjectRef client);

    // Packet path
    void handle(std::span<const MIDIArrival> arrivals);
    void deliverOnQueue(std::span<const MIDIArrival> arrivals);
    void addToSend(const RouteTable::Connection& connection, const MIDIBytes& bytes);
    void sendCollected();

    void tellUsedEndpoints();

    // Ending notes (CoreMIDIRouterEngineSilence.cpp)
    void endHeldNotes(std::span<const RouteTable::Ending> endings);
    void sendUnrouted(MIDIObjectRef destination, std::int32_t destinationID, std::span<const MIDIBytes> messages);
    void silenceOnQueue(std::span<const std::int32_t> destinationIDs, std::function<void()> onDone);
    void sendNextSilencing();

    // Reports (CoreMIDIRouterEngineReports.cpp)
    void post(MIDINotice notice);
    void postActivities(std::span<RoutedMIDIMessage> sent, Instant sentAt);
    void reportSendFailure(std::int32_t destinationID, MIDIStatus status);
    void scheduleSummary();
    void summarize();
    void wakeMainThread();
    static void deliverReports(const std::weak_ptr<CoreMIDIRouterEngine>& weakEngine);
    bool deliverNextReport();
    void deliver(const MIDIReport& report);
    bool reportIfFailed(MIDIStatus status, std::string_view message);
    void logDiagnostic(std::string message);
    void takeHostDiagnostic(std::string message, MIDIStatus status);
    void reportHostDiagnostic(std::string message, MIDIStatus status);

    // Endpoints (CoreMIDIRouterEngineEndpoints.cpp)
    void reloadEndpointsOnQueue(std::string_view reason, MIDIListing listing);
    void notifyEndpointsChanged();
    void handleMIDISetupChanged(std::string reason);
    void scheduleSettledEndpointRefreshOnQueue();
    [[nodiscard]] static std::string describe(const MIDINotification& notification);

    const std::shared_ptr<MIDIHost> host_;
    const std::shared_ptr<DispatchQueue> queue_;
    const std::shared_ptr<DispatchQueue> mainQueue_;
    const std::shared_ptr<const Clock> clock_;
    MIDIReportQueue reports_;

    // Main thread only
    std::weak_ptr<MIDIRouterEngineDelegate> delegate_;
    MIDIObjectRef client_ = 0;

    // Engine's queue only
    MIDIObjectRef inputPort_ = 0;
    MIDIObjectRef outputPort_ = 0;
    RouteTable routeTable_;
    std::vector<MIDIObjectRef> connectedSourceRefs_;
    std::shared_ptr<DispatchWorkItem> pendingEndpointRefreshWorkItem_;
    /// The messages that are given to the service next, and the same in the service's form.
    std::vector<RoutedMIDIMessage> collected_;
    std::vector<MIDISend> sends_;
    /// The messages that `silence` still has to send, by the destination's unique ID, and what to call afterwards.
    std::map<std::int32_t, std::deque<MIDIBytes>> silencing_;
    std::vector<std::function<void()>> silencingDone_;
    SendFailures sendFailures_;
    bool isSummaryScheduled_ = false;
    struct HostDiagnostic {
        std::string message;
        MIDIStatus status = kMIDISuccess;
    };
    std::vector<HostDiagnostic> hostDiagnosticsBeforeStart_;
    bool isStarted_ = false;
};

}  // namespace corvel
