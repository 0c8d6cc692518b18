#pragma once

#include <absl/functional/function_ref.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace corvel::hosts {

/// Splits the bytes of one port's events, or of the packets for one destination, into single messages, whatever a
/// program has put into an event.
///
/// - Each message is separate and has its status byte: running status is expanded, also from one event to the next.
/// - SysEx is unchanged, whether complete or in parts. Later parts begin with a data byte or are a single F7. SysEx
///   ends at F7 or at the next status byte.
/// - Realtime bytes inside another message come before that message. Those inside SysEx come between its parts.
/// - Data bytes without a status, and incomplete messages, are left out and counted.
class JackEventReader {
public:
    enum class Part : std::uint8_t {
        /// A complete message, also a SysEx message in one piece.
        whole,
        /// The first, middle and last part of SysEx in pieces.
        sysExBegin,
        sysExMiddle,
        sysExEnd,
    };

    /// The bytes are valid during the call.
    using Sink = absl::FunctionRef<void(Part part, std::span<const std::uint8_t> bytes)>;

    void read(std::span<const std::uint8_t> event, Sink sink);

    /// How often bytes were left out; a contiguous run counts once.
    [[nodiscard]] std::size_t malformedCount() const { return malformedCount_; }

private:
    void readSysEx(std::span<const std::uint8_t>& rest, Sink sink);
    void readMessage(std::span<const std::uint8_t>& rest, Sink sink);

    /// Status of the last channel message, or 0.
    std::uint8_t runningStatus_ = 0;
    bool isInSysEx_ = false;
    std::size_t malformedCount_ = 0;
};

}  // namespace corvel::hosts
