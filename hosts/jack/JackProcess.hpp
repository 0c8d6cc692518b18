#pragma once

#include "hosts/jack/JackBuffers.hpp"
#include "hosts/jack/JackLane.hpp"
#include "hosts/jack/RecordRing.hpp"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace corvel::hosts {

/// The header of an event from an input port.
struct JackInputHeader {
    /// The port that received it.
    std::uint32_t tag = 0;
    /// The frame at which its results are sent: its own, one period later.
    std::uint32_t frame = 0;
    std::uint32_t size = 0;
};

/// An input port of Corvel.
struct JackInput {
    void* port = nullptr;
    std::uint32_t tag = 0;
};

/// An output port of Corvel, with its events.
struct JackOutput {
    void* port = nullptr;
    std::shared_ptr<JackLane> lane;
};

/// The process callback of the JACK host: what Corvel does in each period.
///
/// Passes the events of all input ports to the engine, in the order of their frames, and the engine's events to the
/// output ports. What does not fit into a port's buffer is sent in the next period, in order. `process` takes no lock,
/// and neither waits, allocates nor logs.
class JackProcess {
public:
    /// Room for arrivals until the engine's queue reads them: about 70,000 short messages.
    static constexpr std::size_t kInputCapacity = std::size_t{1} << 20U;
    static constexpr std::size_t kMaxInputEvent = std::size_t{64} << 10U;

    /// `wakeUp` is called at the end of a period in which events have arrived; it must not wait.
    explicit JackProcess(void (*wakeUp)(void* argument), void* argument);
    JackProcess(const JackProcess&) = delete;
    JackProcess& operator=(const JackProcess&) = delete;
    ~JackProcess();

    /// Runs one period, on the server's real-time thread.
    void process(JackBuffers& buffers, std::uint32_t frames);

    // Worker

    /// Sets the ports for the next period. The previous ones may be in use until `isUsingLatest`.
    void setPorts(std::vector<JackInput> inputs, std::vector<JackOutput> outputs);
    /// Whether a period with the latest ports has ended. If so, frees the previous tables.
    [[nodiscard]] bool isUsingLatest();
    /// Removes all ports, while no period runs. The next period may start at any frame.
    void clearPorts();
    /// The number of periods so far.
    [[nodiscard]] std::uint64_t periodCount() const { return periodCount_.load(std::memory_order_acquire); }
    /// How often the server left out periods of this client. What arrived in them is lost.
    [[nodiscard]] std::uint64_t skipCount() const { return skipCount_.load(std::memory_order_relaxed); }

    // Engine's queue

    /// The events that wait for the engine.
    [[nodiscard]] RecordRing<JackInputHeader>& input() { return input_; }
    /// The maximum size of an event in an output port's buffer; before the first period, that of known servers.
    [[nodiscard]] std::size_t maxEventSize() const { return maxEventSize_.load(std::memory_order_relaxed); }
    /// The number of events lost because there was no room between callback and engine, or that no output buffer
    /// accepted.
    [[nodiscard]] std::uint64_t lostInputCount() const { return lostInputCount_.load(std::memory_order_relaxed); }
    [[nodiscard]] std::uint64_t lostOutputCount() const { return lostOutputCount_.load(std::memory_order_relaxed); }

private:
    /// An input port with remaining events in this period.
    struct Cursor {
        void* buffer = nullptr;
        std::uint32_t tag = 0;
        std::uint32_t index = 0;
        std::uint32_t count = 0;
        JackEvent event;
    };

    /// The ports of a period. Immutable, except for the cursors, which only the callback uses.
    struct Table {
        std::uint64_t generation = 0;
        std::vector<JackInput> inputs;
        std::vector<JackOutput> outputs;
        std::vector<Cursor> cursors;
    };

    void readInputs(JackBuffers& buffers, Table& table, std::uint32_t start, std::uint32_t frames);
    [[nodiscard]] static bool advance(JackBuffers& buffers, Cursor& cursor, std::uint32_t frames);
    void writeOutput(JackBuffers& buffers, const JackOutput& output, std::uint32_t start, std::uint32_t frames);

    void (*const wakeUp_)(void* argument);
    void* const argument_;
    RecordRing<JackInputHeader> input_{kInputCapacity, kMaxInputEvent};

    std::atomic<Table*> table_ = nullptr;
    std::atomic<std::uint64_t> usedGeneration_ = 0;
    std::atomic<std::uint64_t> periodCount_ = 0;
    std::atomic<std::size_t> maxEventSize_ = std::size_t{32'000};
    std::atomic<std::uint64_t> lostInputCount_ = 0;
    std::atomic<std::uint64_t> lostOutputCount_ = 0;
    std::atomic<std::uint64_t> skipCount_ = 0;

    /// The first frame after the last period. Used by the callback, or by the worker while no period runs.
    std::optional<std::uint32_t> expectedStart_;

    /// All tables that the callback may still use, the latest at the end. Worker only.
    std::vector<std::unique_ptr<Table>> tables_;
    std::uint64_t generation_ = 0;
};

}  // namespace corvel::hosts
