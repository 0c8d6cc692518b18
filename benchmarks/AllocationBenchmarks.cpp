// Counts the heap allocations for a routed message, from the receive callback to the main thread's report, after
// warm-up. A message that waits for the heap can be late.

#include "benchmarks/Benchmarks.hpp"
#include "benchmarks/support/EngineRig.hpp"
#include "tests/support/HeapCounter.hpp"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace corvel::benchmarks {

namespace {

constexpr const char* kAllocations = "allocations per message";
constexpr std::size_t kFanOut = 4;
constexpr std::size_t kPacketsPerIteration = 64;

/// A note for 3 bytes, otherwise a SysEx message.
std::vector<std::uint8_t> makeMessage(std::size_t size) {
    if (size == 3) {
        return {0x90, 0x3C, 0x64};
    }
    std::vector<std::uint8_t> message(size, 0x01);
    message.front() = 0xF0;
    message.back() = 0xF7;
    return message;
}

void countAllocations(benchmark::State& state, std::size_t size) {
    const auto queue = std::make_shared<tests::ManualQueue>();
    EngineRig rig({.matching = kFanOut}, queue);
    queue->runAll();
    const std::vector<std::uint8_t> message = makeMessage(size);
    const auto route = [&] {
        for (std::size_t index = 0; index < kPacketsPerIteration; ++index) {
            rig.receive(message);
            queue->runAll();
        }
        rig.takeReports();
    };
    route();
    const std::size_t routedBefore = rig.delegate().routed;
    const std::size_t allocatedBefore = tests::heapAllocationCount();
    for ([[maybe_unused]] const auto _ : state) {
        route();
    }
    const std::size_t allocated = tests::heapAllocationCount() - allocatedBefore;
    const std::size_t routed = rig.delegate().routed - routedBefore;
    setUnitsPerIteration(state, static_cast<double>(kPacketsPerIteration * kFanOut));
    state.counters[kAllocations] = static_cast<double>(allocated) / static_cast<double>(routed);
    if (routed != static_cast<std::size_t>(state.iterations()) * kPacketsPerIteration * kFanOut) {
        state.SkipWithError("messages were lost");
    }
}

}  // namespace

void registerAllocationBenchmarks(Summary& summary) {
    for (const std::size_t size : {3UL, 16UL, 17UL, 1024UL}) {
        const std::string name = "allocations, " + std::to_string(size) + " bytes";
        benchmark::RegisterBenchmark(name.c_str(), [size](benchmark::State& state) { countAllocations(state, size); });
        const bool fitsInline = size <= 16;
        summary.addCounter(name, kAllocations, fitsInline ? std::optional(0.0) : std::nullopt);
    }
}

}  // namespace corvel::benchmarks
