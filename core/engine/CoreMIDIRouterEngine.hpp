#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "core/engine/MIDIReportQueue.hpp"
#include "core/engine/MIDIRouterEngineDelegate.hpp"
#include "core/host/MIDIHost.hpp"
#include "core/messages/PacketBytes.hpp"
#include "core/messages/RoutedMIDIMessage.hpp"
#include "core/routes/MIDIRoute.hpp"
#include "core/support/Clock.hpp"
#include "core/support/DispatchQueue.hpp"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace corvel {

/// The system's endpoints at one moment, in the system's order.
struct MIDIEndpoints {
    std::vector<MIDIEndpointModel> sources;
    std::vector<MIDIEndpointModel> destinations;

    bool operator==(const MIDIEndpoints&) const = default;
};

/// Moves MIDI: receives from every source, sends each packet through every matching connection, follows changes of the
/// MIDI setup, and reports all of it to its delegate.
///
/// All mutable state belongs to the engine's serial queue; what runs there never blocks. The service's receive thread
/// only copies and posts. Whatever is posted anywhere holds the engine weakly. There is no stop: releasing the last
/// reference, on whatever thread, disposes the ports and the client.
class CoreMIDIRouterEngine : public std::enable_shared_from_this<CoreMIDIRouterEngine> {
    struct Private {
        explicit Private() = default;
    };

public:
    /// Time from the last change of the setup to the settled reload.
    static constexpr std::chrono::milliseconds kSettleDelay{350};
    /// Status of a packet that could not be made.
    static constexpr MIDIStatus kSendFailed = -10838;

    /// Makes an engine; touches no service. `queue` becomes the engine's own serial queue, `mainQueue` carries all
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

    /// Creates the client on the main thread, then the ports on the queue, and loads the endpoints. Any thread; later
    /// calls do nothing once the client exists, also when a port could not be made.
    void start();

    /// Replaces the whole list of connections. Any thread, any time; a delivery sees the old list or the new one.
    void updateRoutes(std::vector<MIDIRoute> routes);

    /// Lists the endpoints afresh. Works before `start()` and without a service. Waits for the engine's queue, so not
    /// to be called from it.
    [[nodiscard]] MIDIEndpoints endpoints();

    /// Reloads the endpoints and connects every source again, then reports that the endpoints changed. Any thread.
    void reloadEndpoints();

private:
    /// Connections by the unique ID of their source, each source's in the user's order: what a packet has to look at
    /// does not grow with the connections of other sources.
    using RoutesBySource = std::unordered_map<std::int32_t, std::vector<MIDIRoute>>;

    // Lifecycle and reports
    void startOnMainThread();
    void startPortsOnQueue(MIDIObjectRef client);
    void post(MIDINotice notice);
    void postActivity(RoutedMIDIMessage&& message);
    void wakeMainThread();
    static void deliverReports(const std::weak_ptr<CoreMIDIRouterEngine>& weakEngine);
    bool deliverNextReport();
    void deliver(const MIDIReport& report);
    bool reportIfFailed(MIDIStatus status, std::string_view message);
    void logDiagnostic(std::string message);
    void takeHostDiagnostic(std::string message);

    // Packet path
    void handle(PacketBytes&& packets, MIDIObjectRef source);
    void deliverOnQueue(const PacketBytes& packets, MIDIObjectRef source);
    void send(RoutedMIDIMessage&& message);

    // Endpoints (CoreMIDIRouterEngineEndpoints.cpp)
    void reloadEndpointsOnQueue(std::string_view reason);
    void notifyEndpointsChanged();
    void handleMIDISetupChanged(std::string reason);
    void scheduleSettledEndpointRefreshOnQueue();
    [[nodiscard]] static std::string describe(const MIDINotification& notification);
    [[nodiscard]] std::string endpointName(MIDIObjectRef object);
    [[nodiscard]] std::int32_t endpointID(MIDIObjectRef endpoint);
    [[nodiscard]] MIDIEndpointModel endpointModel(MIDIObjectRef endpoint, MIDIEndpointDirection direction);
    [[nodiscard]] std::string deviceTreeSummary();
    void appendDeviceSummaries(std::string& summary, std::string_view title, unsigned count,
                               MIDIObjectRef (MIDIHost::*getter)(unsigned));

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
    RoutesBySource routesBySourceID_;
    std::unordered_map<MIDIObjectRef, std::int32_t> sourceIDByEndpointRef_;
    std::unordered_map<std::int32_t, MIDIObjectRef> destinationRefByID_;
    std::unordered_set<MIDIObjectRef> connectedSourceRefs_;
    std::shared_ptr<DispatchWorkItem> pendingEndpointRefreshWorkItem_;
    std::vector<std::string> hostDiagnosticsBeforeStart_;
    bool isStarted_ = false;
};

}  // namespace corvel
