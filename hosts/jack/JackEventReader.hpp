#pragma once

#include <absl/functional/function_ref.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace corvel::hosts {

/// Splits the bytes of one port's events, or of the packets for one destination, into single messages, whatever the
/// program that wrote them put into an event.
///
/// - Each message comes out on its own, with its status byte: where a program uses running status, also from one event
///   to the next, the status is put back.
/// - SysEx comes out as it came: whole, or in parts whose later ones begin with a data byte, or are a lone F7. It ends
/// at
///   F7 or at the next status byte. Realtime bytes come out before the message that they interrupt, and between the
///   parts of SysEx.
/// - Data bytes that belong to no status, and messages that end too early, are left out and counted.
class JackEventReader {
public:
    enum class Part : std::uint8_t {
        /// A message of its own, a SysEx message included that stands in one piece.
        whole,
        /// The beginning, the middle and the end of SysEx that comes in pieces.
        sysExBegin,
        sysExMiddle,
        sysExEnd,
    };

    /// The bytes are valid during the call.
    using Sink = absl::FunctionRef<void(Part part, std::span<const std::uint8_t> bytes)>;

    void read(std::span<const std::uint8_t> event, Sink sink);

    /// How often bytes were left out, each run of them counted once.
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
