#pragma once

#include "hosts/jack/JackBuffers.hpp"
#include "hosts/jack/JackLane.hpp"
#include "hosts/jack/RecordRing.hpp"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace corvel::hosts {

/// What stands before an event on its way from an input port.
struct JackInputHeader {
    /// Which port it came through.
    std::uint32_t tag = 0;
    /// The frame at which it goes out again: its own, one period later.
    std::uint32_t frame = 0;
    std::uint32_t size = 0;
};

/// An input port of Corvel's.
struct JackInput {
    void* port = nullptr;
    std::uint32_t tag = 0;
};

/// An output port of Corvel's, with what goes there.
struct JackOutput {
    void* port = nullptr;
    std::shared_ptr<JackLane> lane;
};

/// The heart of the JACK host: what the server has Corvel do in each period.
///
/// Takes the events of all input ports to the engine, in the order of their frames, and the engine's to the output
/// ports. What does not fit a port's buffer goes out in the next period, and nothing overtakes. `process` neither
/// locks, waits, asks for memory nor logs.
class JackProcess {
public:
    /// Room for what arrives until the engine's queue reads it: some 60,000 short messages.
    static constexpr std::size_t kInputCapacity = std::size_t{1} << 20U;
    static constexpr std::size_t kMaxInputEvent = std::size_t{64} << 10U;

    /// `wakeUp` is called at the end of a period in which events have arrived; it must not wait.
    explicit JackProcess(void (*wakeUp)(void* argument), void* argument);
    JackProcess(const JackProcess&) = delete;
    JackProcess& operator=(const JackProcess&) = delete;
    ~JackProcess();

    /// One period. In the server's real-time thread.
    void process(JackBuffers& buffers, std::uint32_t frames);

    // Worker

    /// Has the next period use these ports. Those of before may be in use until `isUsingLatest`.
    void setPorts(std::vector<JackInput> inputs, std::vector<JackOutput> outputs);
    /// Whether a period has ended that used the ports set last; frees the tables of before then.
    [[nodiscard]] bool isUsingLatest();
    /// Forgets all ports, while no period runs.
    void clearPorts();
    /// How many periods there have been.
    [[nodiscard]] std::uint64_t periodCount() const { return periodCount_.load(std::memory_order_acquire); }

    // Engine's queue

    /// Where events wait for the engine.
    [[nodiscard]] RecordRing<JackInputHeader>& input() { return input_; }
    /// The longest event that an output port's buffer takes; before the first period, what it is in known servers.
    [[nodiscard]] std::size_t maxEventSize() const { return maxEventSize_.load(std::memory_order_relaxed); }
    /// Events that were lost for want of room between callback and engine, or that no output buffer took.
    [[nodiscard]] std::uint64_t lostInputCount() const { return lostInputCount_.load(std::memory_order_relaxed); }
    [[nodiscard]] std::uint64_t lostOutputCount() const { return lostOutputCount_.load(std::memory_order_relaxed); }

private:
    /// An input port that has events left in this period.
    struct Cursor {
        void* buffer = nullptr;
        std::uint32_t tag = 0;
        std::uint32_t index = 0;
        std::uint32_t count = 0;
        JackEvent event;
    };

    /// The ports of a period. Never changes but for the cursors, which only the callback uses.
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

    /// All tables that the callback may still use, the latest at the end. Worker only.
    std::vector<std::unique_ptr<Table>> tables_;
    std::uint64_t generation_ = 0;
};

}  // namespace corvel::hosts
