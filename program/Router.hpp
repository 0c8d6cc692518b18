#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "app/Settings.hpp"
#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/host/MIDIHostChoice.hpp"
#include "core/storage/RouteStore.hpp"
#include "core/support/Clock.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/HostSelection.hpp"

#include <memory>
#include <string>

namespace corvel {

/// The engine with all that it stands on.
class Router {
public:
    /// Says on standard error why the service that was asked for is not there.
    explicit Router(MIDIHostChoice choice);
    Router(const Router&) = delete;
    Router& operator=(const Router&) = delete;
    ~Router();

    [[nodiscard]] bool hasEngine() const { return engine_ != nullptr; }
    [[nodiscard]] bool isDemo() const { return selection_.isDemo; }
    /// Why the demo devices stand in, one line. Empty on the system's own MIDI.
    [[nodiscard]] std::string demoReason() const;
    [[nodiscard]] CoreMIDIRouterEngine& engine() const { return *engine_; }
    /// The application model over the engine. It must be gone before the router is.
    [[nodiscard]] std::shared_ptr<MIDIRouterViewModel> makeModel(std::shared_ptr<RouteStore> store,
                                                                 std::shared_ptr<Settings> settings) const;
    [[nodiscard]] const std::shared_ptr<EventLoop>& mainQueue() const { return mainQueue_; }
    [[nodiscard]] const std::shared_ptr<const Clock>& clock() const { return clock_; }

private:
    std::shared_ptr<const Clock> clock_ = makeSystemClock();
    std::shared_ptr<EventLoop> mainQueue_;
    std::shared_ptr<EventLoop> engineQueue_;
    hosts::HostSelection selection_;
    std::shared_ptr<CoreMIDIRouterEngine> engine_;
};

}  // namespace corvel
