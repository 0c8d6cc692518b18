#include "core/engine/CoreMIDIRouterEngine.hpp"

#include "core/support/UUID.hpp"

#include <optional>
#include <utility>
#include <variant>

namespace corvel {

void CoreMIDIRouterEngine::post(MIDINotice notice) {
    if (reports_.push(std::move(notice))) {
        wakeMainThread();
    }
}

void CoreMIDIRouterEngine::postActivities(std::span<RoutedMIDIMessage> sent, Instant sentAt) {
    if (sent.empty()) {
        return;
    }
    if (reports_.push(sent, sentAt)) {
        // Deferred: a few milliseconds are invisible here, but would delay the message's receiver if the main thread
        // ran first.
        mainQueue_->asyncDeferred([weakEngine = weak_from_this()] { deliverReports(weakEngine); });
    }
    if (reports_.hasDropped()) {
        scheduleSummary();
    }
}

void CoreMIDIRouterEngine::reportSendFailure(std::int32_t destinationID, MIDIStatus status) {
    if (sendFailures_.add(destinationID, status)) {
        reportIfFailed(status, SendFailures::message(status));
    }
    scheduleSummary();
}

void CoreMIDIRouterEngine::scheduleSummary() {
    if (std::exchange(isSummaryScheduled_, true)) {
        return;
    }
    queue_->asyncAfter(kSummaryInterval, std::make_shared<DispatchWorkItem>([weakEngine = weak_from_this()] {
                           if (const auto engine = weakEngine.lock()) {
                               engine->summarize();
                           }
                       }));
}

void CoreMIDIRouterEngine::summarize() {
    isSummaryScheduled_ = false;
    for (std::string& text : sendFailures_.takeRepeated()) {
        post(MIDIFailureReport{std::move(text)});
    }
    if (const std::size_t count = reports_.takeDroppedCount(); count > 0) {
        logDiagnostic(std::to_string(count) + " activity reports were dropped: the program cannot keep up with them");
    }
    if (!sendFailures_.empty()) {
        scheduleSummary();
    }
}

void CoreMIDIRouterEngine::wakeMainThread() {
    mainQueue_->async([weakEngine = weak_from_this()] { deliverReports(weakEngine); });
}

void CoreMIDIRouterEngine::deliverReports(const std::weak_ptr<CoreMIDIRouterEngine>& weakEngine) {
    const auto engine = weakEngine.lock();
    if (!engine) {
        return;
    }
    const Instant began = engine->clock_->now();
    do {
        // A delegate may release the engine; then nothing more is delivered.
        if (!engine->deliverNextReport() || engine.use_count() == 1) {
            return;
        }
    } while (engine->clock_->now() - began < kReportTurn);
    engine->wakeMainThread();
}

bool CoreMIDIRouterEngine::deliverNextReport() {
    const std::optional<MIDIReport> report = reports_.pop();
    if (!report) {
        return false;
    }
    try {
        deliver(*report);
    } catch (...) {
        wakeMainThread();
        throw;
    }
    return true;
}

void CoreMIDIRouterEngine::deliver(const MIDIReport& report) {
    const auto delegate = delegate_.lock();
    if (!delegate) {
        return;
    }
    struct Delivery {
        CoreMIDIRouterEngine& engine;
        MIDIRouterEngineDelegate& delegate;

        void operator()(const MIDIActivityEvent& event) const { delegate.midiRouterEngineDidRoute(engine, event); }
        void operator()(const MIDIEndpointsReport&) const { delegate.midiRouterEngineDidChangeEndpoints(engine); }
        void operator()(const MIDIFailureReport& failure) const {
            delegate.midiRouterEngineDidFail(engine, failure.message);
        }
        void operator()(const MIDIDiagnosticEvent& event) const { delegate.midiRouterEngineDidLog(engine, event); }
    };
    std::visit(Delivery{*this, *delegate}, report);
}

bool CoreMIDIRouterEngine::reportIfFailed(MIDIStatus status, std::string_view message) {
    if (status == kMIDISuccess) {
        return true;
    }
    post(MIDIFailureReport{std::string(message) + " (" + std::to_string(status) + ")"});
    return false;
}

void CoreMIDIRouterEngine::logDiagnostic(std::string message) {
    post(MIDIDiagnosticEvent{UUID::random(), clock_->now(), std::move(message)});
}

void CoreMIDIRouterEngine::takeHostDiagnostic(std::string message, MIDIStatus status) {
    queue_->async([weakEngine = weak_from_this(), message = std::move(message), status]() mutable {
        const auto engine = weakEngine.lock();
        if (!engine) {
            return;
        }
        if (!engine->isStarted_) {
            engine->hostDiagnosticsBeforeStart_.push_back({std::move(message), status});
        } else {
            engine->reportHostDiagnostic(std::move(message), status);
        }
    });
}

void CoreMIDIRouterEngine::reportHostDiagnostic(std::string message, MIDIStatus status) {
    if (status == kMIDIMessagesLost) {
        post(MIDIFailureReport{std::move(message)});
    } else if (reportIfFailed(status, message)) {
        logDiagnostic(std::move(message));
    }
}

}  // namespace corvel
