#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace corvel {

/// SIGINT, SIGTERM and SIGHUP as events of Qt's event loop, so that the program ends in order and never in the middle
/// of anything. SIGHUP stays ignored where it was (`nohup`).
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

    /// Calls the handler in the event loop for each signal that comes or has come, until the result is destroyed. On
    /// the main thread, while the application object exists.
    [[nodiscard]] std::unique_ptr<QSocketNotifier> watch(std::function<void()> handler) const;

private:
    int descriptor_ = -1;
};

}  // namespace corvel
