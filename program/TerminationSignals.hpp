#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace corvel {

/// SIGINT, SIGTERM and SIGHUP as events of Qt's event loop, so that the program ends in order. SIGHUP stays ignored if
/// it was (`nohup`).
///
/// Must be created before any other thread, because threads inherit the blocked signals; they stay blocked.
class TerminationSignals {
public:
    /// Blocks the signals for the calling thread, and ignores SIGPIPE, so that only writes report broken pipes. Throws
    /// `std::system_error`.
    TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals();

    /// Calls the handler in the event loop for each signal that comes or has come, until the result is destroyed. Main
    /// thread only, while the application object exists.
    [[nodiscard]] std::unique_ptr<QSocketNotifier> watch(std::function<void()> handler) const;

private:
    int descriptor_ = -1;
};

}  // namespace corvel
