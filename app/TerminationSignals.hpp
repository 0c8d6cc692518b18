#pragma once

#include "core/support/EventLoop.hpp"

#include <functional>

namespace corvel {

/// SIGINT, SIGTERM and SIGHUP as an event on a loop, so that the program ends in order and never in the middle of
/// anything. SIGHUP stays ignored where it was (`nohup`).
///
/// Made before any other thread starts, since threads inherit the signals that it blocks; they stay blocked.
class TerminationSignals {
public:
    /// Blocks the signals for the calling thread, and has broken pipes reported by the writes alone. Throws
    /// `std::system_error`.
    TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals();

    /// Has the handler called on the loop for each signal that comes or has come. Once, on the loop, which has to end
    /// or be gone before this object is.
    void watch(EventLoop& loop, std::function<void()> handler) const;

private:
    int descriptor_ = -1;
};

}  // namespace corvel
