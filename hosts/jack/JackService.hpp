#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/ChunkedQueue.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/SetupNotifications.hpp"
#include "hosts/jack/JackEndpoints.hpp"
#include "hosts/jack/JackEventReader.hpp"
#include "hosts/jack/JackProcess.hpp"
#include "hosts/jack/JackWorker.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace corvel::hosts {

/// The part of the JACK host on the engine's queue: endpoints, arrivals and sends. It asks the worker for changes on
/// the server, without waiting.
///
/// Every operation except the constructor runs on the engine's queue. What was read before a change of the ports is
/// delivered before the change takes effect.
class JackService : public std::enable_shared_from_this<JackService> {
public:
    /// How the service reaches the worker; each function only posts.
    struct Worker {
        std::function<void(JackWish wish)> setWish;
        std::function<void()> refresh;
    };

    /// Delay after which the path to or from an unused endpoint is closed.
    static constexpr std::chrono::seconds kReleaseDelay{10};
    /// Time between two diagnostics about malformed input.
    static constexpr std::chrono::seconds kReportInterval{1};

    JackService(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue,
                std::shared_ptr<JackProcess> process, bool leavesOutALSAMirrors, Worker worker);

    /// Must be called before anything else on the queue.
    void setDiagnosticHandler(MIDIHost::DiagnosticHandler handler) { reportDiagnostic_ = std::move(handler); }

    /// Reads arrivals from now on, whenever the descriptor is ready.
    void open(int descriptor, MIDIHost::NotificationHandler handler);
    void setReceiveHandler(MIDIHost::ReceiveHandler handler);
    void close();

    void takeSnapshot(JackSnapshot snapshot);

    [[nodiscard]] std::shared_ptr<const MIDISetup> setup(MIDIListing listing);
    [[nodiscard]] MIDIStatus connectSource(MIDIObjectRef source, MIDIObjectRef connection);
    MIDIStatus disconnectSource(MIDIObjectRef source);
    /// Only sources in use get an input port, because links to other programs can delay messages: JACK adds a period
    /// if links lead from Corvel to a program and back, and PipeWire skips a period of every program that is linked to
    /// one that ends.
    void setUsedEndpoints(std::span<const MIDIObjectRef> sources, std::span<const MIDIObjectRef> destinations);
    void send(std::span<MIDISend> messages);

private:
    static constexpr std::size_t kUsualBurst = 4'096;
    static constexpr std::size_t kArrivalsPerChunk = 256;

    /// A message that was read, and the frame at which its results are sent.
    struct Arrival {
        MIDIArrival arrival;
        std::uint32_t frame = 0;
    };

    struct Subscription {
        MIDIObjectRef connection = 0;
        /// False from a disconnect until the end of the queue's current task.
        bool isWanted = true;
        JackEventReader reader;
    };

    // Input
    void readForThisRound();
    void readWaitingEvents();
    void runTurn();
    void deliver(std::size_t limit);
    void deliverAll();
    void scheduleMalformedReport();

    // Ports
    void notify(const JackEndpoints::Change& change);
    void settleSubscriptions();
    [[nodiscard]] JackLane* laneTo(MIDIObjectRef destination);
    [[nodiscard]] bool hasUnused() const;
    void scheduleRelease();
    void releaseUnused();
    void scheduleWish();
    void sendWish();

    void post(void (JackService::*operation)());
    void postAfter(std::chrono::nanoseconds delay, void (JackService::*operation)());

    const std::shared_ptr<EventLoop> queue_;
    const std::shared_ptr<JackProcess> process_;
    const Worker worker_;
    const std::shared_ptr<SetupNotifications> notifications_;
    MIDIHost::DiagnosticHandler reportDiagnostic_;
    MIDIHost::ReceiveHandler receiveHandler_;
    std::optional<int> descriptor_;

    JackEndpoints endpoints_;
    std::map<MIDIObjectRef, Subscription> subscriptions_;
    bool isSettlingScheduled_ = false;
    /// The sources that are listened to once they are connected.
    std::set<MIDIObjectRef> openSources_;
    std::map<MIDIObjectRef, std::shared_ptr<JackLane>> lanes_;
    std::set<MIDIObjectRef> used_;
    bool isReleaseScheduled_ = false;
    bool isWishScheduled_ = false;

    ChunkedQueue<Arrival, kArrivalsPerChunk> arrivals_{kUsualBurst};
    std::vector<std::uint8_t> eventBytes_;
    std::vector<MIDIArrival> group_;
    bool isTurnScheduled_ = false;
    bool isDelivering_ = false;
    /// While arrivals of a frame are being delivered, the frame at which their results are sent.
    std::optional<std::uint32_t> sendFrame_;
    std::size_t malformedCount_ = 0;
    bool isReportScheduled_ = false;
};

}  // namespace corvel::hosts
