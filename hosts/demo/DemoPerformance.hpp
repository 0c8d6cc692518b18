#pragma once

#include "hosts/demo/DemoSetup.hpp"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <stop_token>
#include <vector>

namespace corvel::hosts {

/// Plays the pieces of all demo players while any source is connected. Follows the given time without drift. Uses no
/// threads; the caller must guard the setup.
class DemoPerformance {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit DemoPerformance(DemoSetup& setup) : setup_(setup) {}

    /// When to play the next step; no value while nobody listens.
    [[nodiscard]] std::optional<Time> nextStep() const;

    /// Whether there is something to play before the next step: a first listener has come, or one has come back for
    /// which packets are waiting.
    [[nodiscard]] bool hasWork() const;

    /// Plays what is due now. Adds the calls that deliver it.
    void play(Time now, std::vector<DemoDelivery>& deliveries);

    /// Ends the pieces that have started. Adds the calls that deliver their ends.
    void end(std::vector<DemoDelivery>& deliveries);

private:
    DemoSetup& setup_;
    /// The time of step 0, and the next step.
    std::optional<Time> begin_;
    std::uint64_t step_ = 0;
};

/// The state that the demo service and its playing thread share.
struct DemoState {
    /// Guards all members. Never held while a handler runs, because a handler may call or release the service.
    std::mutex mutex;
    /// Signals new listeners.
    std::condition_variable_any changed;
    DemoSetup setup;
    /// The ends of pieces that the playing thread must deliver with the next step. Only that thread delivers what is
    /// played, so that an end cannot overtake a note.
    std::vector<DemoDelivery> endings;
};

/// Plays the pieces of all demo players on the calling thread until a stop is requested. Then ends the pieces that have
/// started.
void performDemo(const std::stop_token& stop, DemoState& state);

}  // namespace corvel::hosts
