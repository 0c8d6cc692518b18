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

/// The server as it is now.
struct JackSnapshot {
    /// "JACK" or "PipeWire"; empty without a server.
    std::string serverName;
    std::vector<JackPort> ports;
    /// Ports that got another name since the last snapshot: the old one and the new one, in order.
    std::vector<std::pair<std::string, std::string>> renames;
};

/// The ports that Corvel is to have, each for another client's port, by that one's reference.
struct JackWish {
    struct Output {
        std::string otherPort;
        std::shared_ptr<JackLane> lane;
    };
    std::map<MIDIObjectRef, std::string> inputs;
    std::map<MIDIObjectRef, Output> outputs;
};

/// Talks to the server, on a thread of its own, since a server that has died may hold up whoever does: keeps a client
/// while a server runs, looks for one while none does, lists the ports, and sees to it that Corvel has those that are
/// wished for.
///
/// All operations and callbacks on its queue.
class JackWorker : public std::enable_shared_from_this<JackWorker> {
public:
    /// Time between two looks for a server.
    static constexpr std::chrono::seconds kOpenInterval{2};
    /// Time from a change to the listing that takes it in: many changes share a listing.
    static constexpr std::chrono::milliseconds kListDelay{20};
    /// How often the server is looked after, and how many times it may have done nothing before it counts as gone.
    static constexpr std::chrono::seconds kWatchInterval{1};
    static constexpr unsigned kMaxIdleWatches = 3;
    /// How long an ending client waits for what is still to go out.
    static constexpr std::chrono::milliseconds kCloseLimit{250};

    struct Handlers {
        std::function<void(JackSnapshot snapshot)> onSnapshot;
        std::function<void(std::string message)> onDiagnostic;
    };

    JackWorker(std::shared_ptr<DispatchQueue> queue, std::shared_ptr<JackLibrary> library,
               std::shared_ptr<JackProcess> process, Handlers handlers);

    /// Begins to look for a server. With one, the first snapshot has been given when this returns.
    void start();
    /// Looks for a server now, lists its ports afresh, and connects again what others have disconnected.
    void refresh();
    void setWish(JackWish wish);
    /// Ends the client, after what is still to go out, and then calls `onStopped`.
    void stop(std::function<void()> onStopped);

    /// The ports of the server that runs, by way of a client of its own.
    [[nodiscard]] JackSnapshot visit();

private:
    struct OwnPort {
        void* port = nullptr;
        std::string name;
        std::string otherPort;
        /// Where it sends; null for an input.
        std::shared_ptr<JackLane> lane;
        /// The period from which on an output may be used: a connection takes effect only between two periods.
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
    /// Opens outputs whose connection has taken effect, and lets go of ports that no period uses any more.
    void settle();
    void settleAsScheduled();

    void postAfter(std::chrono::nanoseconds delay, void (JackWorker::*operation)());

    const std::shared_ptr<DispatchQueue> queue_;
    const std::shared_ptr<JackLibrary> library_;
    const std::shared_ptr<JackProcess> process_;
    const Handlers handlers_;

    std::unique_ptr<JackClient> client_;
    /// Tells the events of this client from those of earlier ones.
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
    /// Ports that are no longer in use but for a period that may still run.
    std::vector<OwnPort> retired_;
    bool isSettleScheduled_ = false;

    /// Set on the library's threads.
    const std::shared_ptr<std::atomic<std::uint64_t>> xrunCount_ = std::make_shared<std::atomic<std::uint64_t>>(0);
    std::uint64_t reportedXruns_ = 0;
    std::uint64_t reportedLostInput_ = 0;
    std::uint64_t reportedLostOutput_ = 0;
    std::uint64_t failedPorts_ = 0;
};

}  // namespace corvel::hosts
