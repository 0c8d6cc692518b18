#pragma once

#include "hosts/jack/JackLibrary.hpp"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>

namespace corvel::benchmarks {

/// What the process callback of a client took.
struct CallbackTimes {
    std::atomic<std::uint64_t> periods = 0;
    std::atomic<std::int64_t> sum = 0;
    std::atomic<std::int64_t> maximum = 0;
};

/// The system's JACK library, with the process callback of each client timed, in nanoseconds of its thread's processor
/// time: what other programs take from it does not count.
[[nodiscard]] std::shared_ptr<hosts::JackLibrary> makeTimedJackLibrary(std::shared_ptr<CallbackTimes> times);

}  // namespace corvel::benchmarks
