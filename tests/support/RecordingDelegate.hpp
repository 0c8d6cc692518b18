#pragma once

#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/engine/MIDIRouterEngineDelegate.hpp"
#include "tests/support/ByteText.hpp"

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {

/// Keeps every report of an engine: all as text in the order of arrival, and the events themselves.
class RecordingDelegate : public MIDIRouterEngineDelegate {
public:
    /// "endpoints changed", "routed [90 3C 64]", "failed: " and the text, "logged: " and the message.
    std::vector<std::string> reports;
    std::vector<MIDIActivityEvent> activities;
    std::vector<MIDIDiagnosticEvent> diagnostics;
    std::vector<std::string> failures;
    std::size_t endpointChanges = 0;
    /// The engine that made the last report.
    const CoreMIDIRouterEngine* reporter = nullptr;
    /// Called inside every report, after it was stored.
    std::function<void()> onReport;

    /// Returns the reports so far and forgets them; the events stay.
    [[nodiscard]] std::vector<std::string> takeReports() { return std::exchange(reports, {}); }

    /// The messages of the diagnostics so far.
    [[nodiscard]] std::vector<std::string> messages() const {
        std::vector<std::string> texts;
        texts.reserve(diagnostics.size());
        for (const MIDIDiagnosticEvent& event : diagnostics) {
            texts.push_back(event.message);
        }
        return texts;
    }

    void midiRouterEngineDidChangeEndpoints(CoreMIDIRouterEngine& engine) override {
        ++endpointChanges;
        keep(engine, "endpoints changed");
    }

    void midiRouterEngineDidRoute(CoreMIDIRouterEngine& engine, const MIDIActivityEvent& event) override {
        activities.push_back(event);
        keep(engine, "routed [" + byteText(event.bytes) + "]");
    }

    void midiRouterEngineDidFail(CoreMIDIRouterEngine& engine, const std::string& message) override {
        failures.push_back(message);
        keep(engine, "failed: " + message);
    }

    void midiRouterEngineDidLog(CoreMIDIRouterEngine& engine, const MIDIDiagnosticEvent& event) override {
        diagnostics.push_back(event);
        keep(engine, "logged: " + event.message);
    }

private:
    void keep(CoreMIDIRouterEngine& engine, std::string report) {
        reporter = &engine;
        reports.push_back(std::move(report));
        if (onReport) {
            onReport();
        }
    }
};

}  // namespace corvel::tests
