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

/// What stands before an event on its way to an output port.
struct JackOutputHeader {
    /// The frame at which it goes out; as soon as possible where `isTimed` is not set.
    std::uint32_t frame = 0;
    std::uint32_t isTimed = 0;
    std::uint32_t size = 0;
};

/// The way to one destination: from the engine's queue, which makes events of packets, to the process callback, which
/// takes them out in order.
///
/// A JACK event is one complete message, so SysEx that comes in pieces is put together first. Full, it refuses packets.
class JackLane {
public:
    /// More than any server's port buffer takes.
    static constexpr std::size_t kMaxEvent = std::size_t{64} << 10U;
    /// Some 17,000 short messages.
    static constexpr std::size_t kCapacity = std::size_t{256} << 10U;

    // Engine's queue

    /// Adds a packet's messages, to go out at the frame or as soon as possible. `maxEvent` is what a port's buffer
    /// takes. Gives the first failure: -EAGAIN where too much waits, -EMSGSIZE for a message that no buffer takes,
    /// `kMIDIPacketNotMade` for bytes that are no message.
    [[nodiscard]] MIDIStatus write(std::span<const std::uint8_t> packet, std::optional<std::uint32_t> frame,
                                   std::size_t maxEvent);

    /// Whether everything that was added has gone out. Any thread.
    [[nodiscard]] bool isDrained() const {
        return takenCount_.load(std::memory_order_acquire) == writtenCount_.load(std::memory_order_relaxed);
    }

    // Process callback

    /// The next event's header, which stays the next one until `take` or `skip`; null if there is none.
    [[nodiscard]] const JackOutputHeader* next();
    /// Moves the next event's bytes to `bytes`, which has as many.
    void take(std::span<std::uint8_t> bytes);
    /// Leaves the next event out.
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
    /// SysEx that has begun, and whether it has become too long.
    std::vector<std::uint8_t> sysEx_;
    bool isTooLong_ = false;

    // Process callback only
    std::optional<JackOutputHeader> next_;
};

}  // namespace corvel::hosts
