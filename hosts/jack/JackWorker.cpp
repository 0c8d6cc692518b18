#include "hosts/jack/JackWorker.hpp"

#include "hosts/jack/JackNaming.hpp"

#include <algorithm>
#include <iterator>

namespace corvel::hosts {

namespace {

using namespace std::chrono_literals;

constexpr const char* kClientName = "Corvel";

/// Time between two checks whether a period has ended.
constexpr auto kSettleInterval = 5ms;

}  // namespace

JackWorker::JackWorker(std::shared_ptr<DispatchQueue> queue, std::shared_ptr<JackLibrary> library,
                       std::shared_ptr<JackProcess> process, Handlers handlers)
    : queue_(std::move(queue)),
      library_(std::move(library)),
      process_(std::move(process)),
      handlers_(std::move(handlers)) {}

void JackWorker::postAfter(std::chrono::nanoseconds delay, void (JackWorker::*operation)()) {
    queue_->asyncAfter(delay, std::make_shared<DispatchWorkItem>([weakWorker = weak_from_this(), operation] {
                           if (const auto worker = weakWorker.lock()) {
                               (*worker.*operation)();
                           }
                       }));
}

// Client

void JackWorker::start() {
    tryOpen();
}

void JackWorker::scheduleOpen(std::chrono::nanoseconds delay) {
    if (!std::exchange(isOpenScheduled_, true)) {
        postAfter(delay, &JackWorker::openAsScheduled);
    }
}

void JackWorker::openAsScheduled() {
    isOpenScheduled_ = false;
    tryOpen();
}

void JackWorker::tryOpen() {
    if (client_ || isStopping_) {
        return;
    }
    ++clientNumber_;
    client_ = library_->open(kClientName, events());
    if (client_ && !client_->activate()) {
        client_.reset();
    }
    if (!client_) {
        if (!std::exchange(hasReportedAbsence_, true)) {
            handlers_.onDiagnostic("No JACK or PipeWire server runs; Corvel looks for one every " +
                                   std::to_string(kOpenInterval.count()) + " seconds");
        }
        scheduleOpen(kOpenInterval);
        return;
    }
    hasReportedAbsence_ = true;
    handlers_.onDiagnostic("Connected to " + client_->serverName() + ", " + std::to_string(client_->period()) +
                           " frames a period");
    watchedPeriods_ = process_->periodCount();
    idleWatches_ = 0;
    if (!std::exchange(isWatchScheduled_, true)) {
        postAfter(kWatchInterval, &JackWorker::watch);
    }
    list();
    reconcile();
}

JackEvents JackWorker::events() {
    const auto onQueue = [weakWorker = weak_from_this(), weakQueue = std::weak_ptr(queue_),
                          number = clientNumber_](std::function<void(JackWorker&)> operation) {
        if (const auto queue = weakQueue.lock()) {
            queue->async([weakWorker, number, operation = std::move(operation)] {
                const auto worker = weakWorker.lock();
                if (worker && worker->client_ && worker->clientNumber_ == number) {
                    operation(*worker);
                }
            });
        }
    };
    // A client that creates and removes ports all the time must not fill the queue.
    const auto isPosted = std::make_shared<std::atomic<bool>>(false);
    return {.process = [process = process_](JackBuffers& buffers,
                                            std::uint32_t frames) { process->process(buffers, frames); },
            .portsChanged =
                [onQueue, isPosted] {
                    if (!isPosted->exchange(true)) {
                        onQueue([isPosted](JackWorker& worker) {
                            isPosted->store(false);
                            worker.scheduleList();
                        });
                    }
                },
            .portRenamed =
                [onQueue](std::string from, std::string to) {
                    onQueue([from = std::move(from), to = std::move(to)](JackWorker& worker) {
                        worker.noteRename(from, to);
                    });
                },
            .xrun = [count = xrunCount_] { count->fetch_add(1, std::memory_order_relaxed); },
            .shutdown =
                [onQueue](std::string reason) {
                    onQueue([reason = std::move(reason)](JackWorker& worker) { worker.close(reason); });
                }};
}

/// The server has ended, or no longer serves this client.
void JackWorker::close(const std::string& reason) {
    reportTroubles();
    client_.reset();
    process_->clearPorts();
    inputs_.clear();
    outputs_.clear();
    ownNames_.clear();
    retired_.clear();
    renames_.clear();
    handlers_.onSnapshot({});
    if (isStopping_) {
        return;
    }
    handlers_.onDiagnostic("The JACK or PipeWire server has gone" + (reason.empty() ? "" : ": " + reason));
    // Soon, because it may only have removed this client.
    scheduleOpen(kSettleInterval);
}

/// Some servers end without an event.
void JackWorker::watch() {
    isWatchScheduled_ = false;
    if (!client_) {
        return;
    }
    reportTroubles();
    const std::uint64_t periods = process_->periodCount();
    idleWatches_ = periods == watchedPeriods_ ? idleWatches_ + 1 : 0;
    watchedPeriods_ = periods;
    if (idleWatches_ >= kMaxIdleWatches) {
        close("it has not done anything for " + std::to_string(kMaxIdleWatches) + " seconds");
        return;
    }
    isWatchScheduled_ = true;
    postAfter(kWatchInterval, &JackWorker::watch);
}

void JackWorker::reportTroubles() {
    const auto report = [this](std::uint64_t count, std::uint64_t& reported, const std::string& what) {
        if (count > reported) {
            handlers_.onDiagnostic("JACK: " + std::to_string(count - reported) + " " + what + " (" +
                                   std::to_string(count) + " so far)");
            reported = count;
        }
    };
    report(xrunCount_->load(std::memory_order_relaxed), reportedXruns_, "xruns");
    report(process_->skipCount(), reportedSkips_, "gaps between periods, in which messages were lost");
    report(process_->lostInputCount(), reportedLostInput_, "messages that arrived were lost, too many at once");
    report(process_->lostOutputCount(), reportedLostOutput_, "messages were too long for a port");
    if (const std::uint64_t failed = std::exchange(failedPorts_, 0); failed > 0) {
        handlers_.onDiagnostic("JACK: " + std::to_string(failed) + " ports could not be connected");
    }
}

void JackWorker::refresh() {
    if (client_) {
        // The listing handles a port that has disappeared meanwhile.
        for (auto& [ref, own] : inputs_) {
            [[maybe_unused]] const MIDIStatus status =
                client_->connect(own.port, MIDIEndpointDirection::source, own.otherPort);
        }
        for (auto& [ref, own] : outputs_) {
            [[maybe_unused]] const MIDIStatus status =
                client_->connect(own.port, MIDIEndpointDirection::destination, own.otherPort);
        }
        list();
        reconcile();
    } else {
        tryOpen();
    }
}

void JackWorker::stop(std::function<void()> onStopped) {
    isStopping_ = true;
    onStopped_ = std::move(onStopped);
    stopLimit_ = std::chrono::steady_clock::now() + kCloseLimit;
    finishStop();
}

void JackWorker::finishStop() {
    if (!onStopped_) {
        return;
    }
    const bool isDrained =
        std::ranges::all_of(wish_.outputs, [](const auto& entry) { return entry.second.lane->isDrained(); });
    if (client_ && std::chrono::steady_clock::now() < stopLimit_) {
        if (!isDrained) {
            drainedPeriod_ = 0;
        } else if (drainedPeriod_ == 0) {
            drainedPeriod_ = process_->periodCount() + 1;
        }
        // What the last period has written is sent before the next one begins.
        if (!isDrained || process_->periodCount() <= drainedPeriod_) {
            postAfter(kSettleInterval, &JackWorker::finishStop);
            return;
        }
    }
    client_.reset();
    process_->clearPorts();
    std::exchange(onStopped_, nullptr)();
}

// Ports

JackSnapshot JackWorker::visit() {
    if (client_) {
        return {.serverName = client_->serverName(), .ports = client_->ports(), .renames = {}};
    }
    const std::unique_ptr<JackClient> visitor = library_->open(kClientName, {});
    return visitor ? JackSnapshot{.serverName = visitor->serverName(), .ports = visitor->ports(), .renames = {}}
                   : JackSnapshot();
}

void JackWorker::scheduleList() {
    if (!std::exchange(isListScheduled_, true)) {
        // With many ports, repeated changes must not keep a processor busy.
        constexpr int kPause = 4;
        postAfter(std::max<std::chrono::nanoseconds>(kListDelay, kPause * listDuration_), &JackWorker::list);
    }
}

void JackWorker::list() {
    isListScheduled_ = false;
    if (!client_) {
        return;
    }
    const auto begin = std::chrono::steady_clock::now();
    handlers_.onSnapshot(
        {.serverName = client_->serverName(), .ports = client_->ports(), .renames = std::exchange(renames_, {})});
    listDuration_ = std::chrono::steady_clock::now() - begin;
}

void JackWorker::noteRename(const std::string& from, const std::string& to) {
    renames_.emplace_back(from, to);
    // The connection stays.
    for (OwnPorts* const ports : {&inputs_, &outputs_}) {
        for (auto& [ref, own] : *ports) {
            if (own.otherPort == from) {
                own.otherPort = to;
            }
        }
    }
    scheduleList();
}

void JackWorker::setWish(JackWish wish) {
    wish_ = std::move(wish);
    reconcile();
}

void JackWorker::reconcile() {
    if (!client_) {
        return;
    }
    const std::size_t retiredBefore = retired_.size();
    removeUnwished(inputs_, [this](MIDIObjectRef ref, const OwnPort& own) {
        const auto wished = wish_.inputs.find(ref);
        return wished != wish_.inputs.end() && wished->second == own.otherPort;
    });
    removeUnwished(outputs_, [this](MIDIObjectRef ref, const OwnPort& own) {
        const auto wished = wish_.outputs.find(ref);
        return wished != wish_.outputs.end() && wished->second.otherPort == own.otherPort &&
               wished->second.lane == own.lane;
    });
    std::vector<OwnPort*> addedInputs;
    std::vector<OwnPort*> addedOutputs;
    for (const auto& [ref, otherPort] : wish_.inputs) {
        addWished(inputs_, ref, otherPort, nullptr, addedInputs);
    }
    for (const auto& [ref, output] : wish_.outputs) {
        addWished(outputs_, ref, output.otherPort, output.lane, addedOutputs);
    }
    if (!addedInputs.empty() || retired_.size() > retiredBefore) {
        publish();
    }
    const auto connect = [this](const std::vector<OwnPort*>& ports, MIDIEndpointDirection otherSide) {
        for (OwnPort* const own : ports) {
            if (client_->connect(own->port, otherSide, own->otherPort) != kMIDISuccess) {
                ++failedPorts_;
            }
            own->openFrom = process_->periodCount() + 2;
        }
    };
    connect(addedInputs, MIDIEndpointDirection::source);
    connect(addedOutputs, MIDIEndpointDirection::destination);
    settle();
}

void JackWorker::removeUnwished(OwnPorts& own, const std::function<bool(MIDIObjectRef, const OwnPort&)>& isWished) {
    for (auto entry = own.begin(); entry != own.end();) {
        const auto next = std::next(entry);
        if (!isWished(entry->first, entry->second)) {
            ownNames_.erase(entry->second.name);
            retired_.push_back(std::move(entry->second));
            own.erase(entry);
        }
        entry = next;
    }
}

void JackWorker::addWished(OwnPorts& own, MIDIObjectRef ref, const std::string& otherPort,
                           std::shared_ptr<JackLane> lane, std::vector<OwnPort*>& added) {
    if (own.contains(ref)) {
        return;
    }
    const std::string name = ownPortName(otherPort, ownNames_);
    const auto otherSide = lane ? MIDIEndpointDirection::destination : MIDIEndpointDirection::source;
    void* const port = client_->registerPort(name, otherSide);
    if (port == nullptr) {
        ++failedPorts_;
        return;
    }
    ownNames_.insert(name);
    OwnPort& entry = own[ref];
    entry = {
        .port = port, .name = name, .otherPort = otherPort, .lane = std::move(lane), .openFrom = 0, .isOpen = false};
    added.push_back(&entry);
}

void JackWorker::publish() {
    std::vector<JackInput> inputs;
    std::vector<JackOutput> outputs;
    inputs.reserve(inputs_.size());
    outputs.reserve(outputs_.size());
    for (const auto& [ref, own] : inputs_) {
        inputs.push_back({.port = own.port, .tag = ref});
    }
    for (const auto& [ref, own] : outputs_) {
        if (own.isOpen) {
            outputs.push_back({.port = own.port, .lane = own.lane});
        }
    }
    process_->setPorts(std::move(inputs), std::move(outputs));
}

void JackWorker::settleAsScheduled() {
    isSettleScheduled_ = false;
    settle();
}

void JackWorker::settle() {
    if (!client_) {
        return;
    }
    bool isWaiting = false;
    bool hasOpened = false;
    for (auto& [ref, own] : outputs_) {
        if (!own.isOpen) {
            own.isOpen = process_->periodCount() >= own.openFrom;
            hasOpened = hasOpened || own.isOpen;
            isWaiting = isWaiting || !own.isOpen;
        }
    }
    if (hasOpened) {
        publish();
    }
    if (process_->isUsingLatest()) {
        for (const OwnPort& own : std::exchange(retired_, {})) {
            client_->unregisterPort(own.port);
        }
    } else {
        isWaiting = true;
    }
    if (isWaiting && !std::exchange(isSettleScheduled_, true)) {
        postAfter(kSettleInterval, &JackWorker::settleAsScheduled);
    }
}

}  // namespace corvel::hosts
