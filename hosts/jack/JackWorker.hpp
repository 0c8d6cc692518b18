#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/DispatchQueue.hpp"
#include "hosts/jack/JackLane.hpp"
#include "hosts/jack/JackLibrary.hpp"
#include "hosts/jack/JackProcess.hpp"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace corvel::hosts {

/// The present state of the server.
struct JackSnapshot {
    /// "JACK" or "PipeWire"; empty without a server.
    std::string serverName;
    std::vector<JackPort> ports;
    /// Ports that were renamed since the last snapshot, as old and new name, in order.
    std::vector<std::pair<std::string, std::string>> renames;
};

/// The ports that Corvel needs, each for another client's port, by its reference.
struct JackWish {
    struct Output {
        std::string otherPort;
        std::shared_ptr<JackLane> lane;
    };
    std::map<MIDIObjectRef, std::string> inputs;
    std::map<MIDIObjectRef, Output> outputs;
};

/// Calls the server, on a thread of its own, because a dead server may block the calling thread. Keeps a client while a
/// server runs and searches for a server while none runs, lists the ports, and creates and removes Corvel's ports as
/// requested.
///
/// All operations and callbacks on its queue.
class JackWorker : public std::enable_shared_from_this<JackWorker> {
public:
    /// Time between two searches for a server.
    static constexpr std::chrono::seconds kOpenInterval{2};
    /// Time from a change to its listing: many changes share a listing.
    static constexpr std::chrono::milliseconds kListDelay{20};
    /// Time between two checks of the server, and the number of checks without activity after which it counts as dead.
    static constexpr std::chrono::seconds kWatchInterval{1};
    static constexpr unsigned kMaxIdleWatches = 3;
    /// Time limit for sending waiting events when the client closes.
    static constexpr std::chrono::milliseconds kCloseLimit{250};

    struct Handlers {
        std::function<void(JackSnapshot snapshot)> onSnapshot;
        std::function<void(std::string message)> onDiagnostic;
    };

    JackWorker(std::shared_ptr<DispatchQueue> queue, std::shared_ptr<JackLibrary> library,
               std::shared_ptr<JackProcess> process, Handlers handlers);

    /// Starts searching for a server. If one runs, the first snapshot has been delivered when this returns.
    void start();
    /// Searches for a server now, lists its ports again, and restores connections that others have removed.
    void refresh();
    void setWish(JackWish wish);
    /// Closes the client after sending waiting events, and then calls `onStopped`.
    void stop(std::function<void()> onStopped);

    /// The ports of the running server, through a temporary client.
    [[nodiscard]] JackSnapshot visit();

private:
    struct OwnPort {
        void* port = nullptr;
        std::string name;
        std::string otherPort;
        /// The path that it sends from; null for an input.
        std::shared_ptr<JackLane> lane;
        /// The first period in which an output may be used: a connection takes effect only between two periods.
        std::uint64_t openFrom = 0;
        bool isOpen = false;
    };
    using OwnPorts = std::map<MIDIObjectRef, OwnPort>;

    // Client
    void scheduleOpen(std::chrono::nanoseconds delay);
    void openAsScheduled();
    void tryOpen();
    [[nodiscard]] JackEvents events();
    void close(const std::string& reason);
    void watch();
    void reportTroubles();
    void finishStop();

    // Ports
    void scheduleList();
    void list();
    void noteRename(const std::string& from, const std::string& to);
    void reconcile();
    void removeUnwished(OwnPorts& own, const std::function<bool(MIDIObjectRef, const OwnPort&)>& isWished);
    void addWished(OwnPorts& own, MIDIObjectRef ref, const std::string& otherPort, std::shared_ptr<JackLane> lane,
                   std::vector<OwnPort*>& added);
    void publish();
    /// Opens outputs whose connection has taken effect, and releases ports that no period uses any more.
    void settle();
    void settleAsScheduled();

    void postAfter(std::chrono::nanoseconds delay, void (JackWorker::*operation)());

    const std::shared_ptr<DispatchQueue> queue_;
    const std::shared_ptr<JackLibrary> library_;
    const std::shared_ptr<JackProcess> process_;
    const Handlers handlers_;

    std::unique_ptr<JackClient> client_;
    /// Distinguishes the events of this client from those of earlier ones.
    std::uint64_t clientNumber_ = 0;
    bool isOpenScheduled_ = false;
    bool isWatchScheduled_ = false;
    bool hasReportedAbsence_ = false;
    std::uint64_t watchedPeriods_ = 0;
    unsigned idleWatches_ = 0;
    bool isStopping_ = false;
    std::function<void()> onStopped_;
    std::chrono::steady_clock::time_point stopLimit_;
    std::uint64_t drainedPeriod_ = 0;

    bool isListScheduled_ = false;
    std::chrono::nanoseconds listDuration_{0};
    std::vector<std::pair<std::string, std::string>> renames_;

    JackWish wish_;
    OwnPorts inputs_;
    OwnPorts outputs_;
    std::set<std::string> ownNames_;
    /// Ports that are no longer needed but may still be used by a running period.
    std::vector<OwnPort> retired_;
    bool isSettleScheduled_ = false;

    /// Set on the library's threads.
    const std::shared_ptr<std::atomic<std::uint64_t>> xrunCount_ = std::make_shared<std::atomic<std::uint64_t>>(0);
    std::uint64_t reportedXruns_ = 0;
    std::uint64_t reportedSkips_ = 0;
    std::uint64_t reportedLostInput_ = 0;
    std::uint64_t reportedLostOutput_ = 0;
    std::uint64_t failedPorts_ = 0;
};

}  // namespace corvel::hosts
