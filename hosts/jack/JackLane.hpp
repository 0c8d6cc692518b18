#pragma once

#include "core/host/MIDIHost.hpp"
#include "hosts/jack/JackEventReader.hpp"
#include "hosts/jack/RecordRing.hpp"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace corvel::hosts {

/// The header of an event on its way to an output port.
struct JackOutputHeader {
    /// The frame at which it is sent, if `isTimed`; otherwise it is sent as soon as possible.
    std::uint32_t frame = 0;
    std::uint32_t isTimed = 0;
    std::uint32_t size = 0;
};

/// The path to one destination: the engine's queue converts packets into events, and the process callback takes them in
/// order.
///
/// A JACK event is one complete message, so SysEx in pieces is first joined. Refuses packets if it is full.
class JackLane {
public:
    /// Larger than any server's port buffer.
    static constexpr std::size_t kMaxEvent = std::size_t{64} << 10U;
    /// Enough for about 17,000 short messages.
    static constexpr std::size_t kCapacity = std::size_t{256} << 10U;

    // Engine's queue

    /// Adds a packet's messages, to be sent at the frame or as soon as possible. `maxEvent` is the maximum size of an
    /// event in a port's buffer. Returns the first failure: -EAGAIN if too much is waiting, -EMSGSIZE for a message
    /// larger than a buffer, `kMIDIPacketNotMade` for bytes that are not a message.
    [[nodiscard]] MIDIStatus write(std::span<const std::uint8_t> packet, std::optional<std::uint32_t> frame,
                                   std::size_t maxEvent);

    /// Whether everything that was added has been sent. Any thread.
    [[nodiscard]] bool isDrained() const {
        return takenCount_.load(std::memory_order_acquire) == writtenCount_.load(std::memory_order_relaxed);
    }

    // Process callback

    /// The next event's header; null if there is none. The same event until `take` or `skip`.
    [[nodiscard]] const JackOutputHeader* next();
    /// Moves the next event's bytes to `bytes`, which must have its size.
    void take(std::span<std::uint8_t> bytes);
    /// Drops the next event.
    void skip();

private:
    [[nodiscard]] MIDIStatus push(std::span<const std::uint8_t> message, std::optional<std::uint32_t> frame,
                                  std::size_t maxEvent);
    [[nodiscard]] MIDIStatus add(JackEventReader::Part part, std::span<const std::uint8_t> bytes,
                                 std::optional<std::uint32_t> frame, std::size_t maxEvent);

    RecordRing<JackOutputHeader> ring_{kCapacity, kMaxEvent};
    std::atomic<std::uint64_t> writtenCount_ = 0;
    std::atomic<std::uint64_t> takenCount_ = 0;

    // Engine's queue only
    JackEventReader reader_;
    /// The part of a SysEx message received so far, and whether it is longer than an event may be.
    std::vector<std::uint8_t> sysEx_;
    bool isTooLong_ = false;

    // Process callback only
    std::optional<JackOutputHeader> next_;
};

}  // namespace corvel::hosts
