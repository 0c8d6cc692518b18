#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "app/Settings.hpp"
#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/host/MIDIHostChoice.hpp"
#include "core/storage/RouteStore.hpp"
#include "core/support/Clock.hpp"
#include "core/support/EventLoop.hpp"
#include "hosts/HostSelection.hpp"
#include "program/QtMainQueue.hpp"
#include "program/RealtimeKit.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace corvel {

/// The engine with its service and queues. On the main thread, while the application object exists.
class Router {
public:
    /// Throws `std::system_error` if the system has no thread or descriptor left.
    explicit Router(MIDIHostChoice choice);
    Router(const Router&) = delete;
    Router& operator=(const Router&) = delete;
    ~Router();

    [[nodiscard]] bool isDemo() const { return selection_.isDemo; }
    /// What is missing of the requested services, in one line; otherwise empty.
    [[nodiscard]] const std::string& problem() const { return selection_.problem; }
    /// Writes the problem, if any, to standard error. Returns whether there is a service all the same.
    [[nodiscard]] bool printProblem() const;

    [[nodiscard]] CoreMIDIRouterEngine& engine() const { return *engine_; }
    /// Creates the application model over the engine. The model must be destroyed before the router.
    [[nodiscard]] std::shared_ptr<MIDIRouterViewModel> makeModel(std::shared_ptr<RouteStore> store,
                                                                 std::shared_ptr<Settings> settings) const;
    [[nodiscard]] const std::shared_ptr<const Clock>& clock() const { return clock_; }

    /// Runs Qt's event loop until all tasks of the main queue have run and `isDone` returns true, but at most for
    /// `limit`. For the last reports and lines at the end.
    void finish(std::chrono::milliseconds limit, const std::function<bool()>& isDone) const;

private:
    std::shared_ptr<const Clock> clock_ = makeSystemClock();
    QtMainQueue mainQueue_;
    RealtimeKit realtimeKit_;
    std::shared_ptr<EventLoop> engineQueue_;
    hosts::HostSelection selection_;
    std::shared_ptr<CoreMIDIRouterEngine> engine_;
};

}  // namespace corvel
