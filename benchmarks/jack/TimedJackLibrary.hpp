#pragma once

#include "hosts/jack/JackLibrary.hpp"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>

namespace corvel::benchmarks {

/// The number of process callbacks, and their times in nanoseconds.
struct CallbackTimes {
    std::atomic<std::uint64_t> periods = 0;
    std::atomic<std::int64_t> sum = 0;
    std::atomic<std::int64_t> maximum = 0;
    /// The number of callbacks longer than the limit.
    std::atomic<std::uint64_t> beyond = 0;
};

/// The system's JACK library, which measures the processor time of each client's process callback. Time in which other
/// programs use the processor does not count. `limit` is in nanoseconds.
[[nodiscard]] std::shared_ptr<hosts::JackLibrary> makeTimedJackLibrary(std::shared_ptr<CallbackTimes> times,
                                                                       std::int64_t limit);

}  // namespace corvel::benchmarks
