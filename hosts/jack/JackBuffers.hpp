#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace corvel::hosts {

/// An event in a port's buffer.
struct JackEvent {
    /// Frames from the start of the period.
    std::uint32_t time = 0;
    std::span<const std::uint8_t> bytes;
};

/// The functions of the server's library that the process callback uses: access to the port buffers of one period.
/// Nothing here waits. In the process callback only.
class JackBuffers {
public:
    JackBuffers() = default;
    JackBuffers(const JackBuffers&) = delete;
    JackBuffers& operator=(const JackBuffers&) = delete;
    virtual ~JackBuffers() = default;

    /// The frame at which the period starts, on a clock that wraps.
    [[nodiscard]] virtual std::uint32_t periodStart() = 0;

    /// A port's buffer for this period of `frames` frames; null if the port no longer exists.
    [[nodiscard]] virtual void* buffer(void* port, std::uint32_t frames) = 0;

    [[nodiscard]] virtual std::uint32_t eventCount(void* buffer) = 0;
    /// False for an event that cannot be read.
    [[nodiscard]] virtual bool event(void* buffer, std::uint32_t index, JackEvent& event) = 0;

    virtual void clear(void* buffer) = 0;
    /// The maximum size of an event in an empty buffer.
    [[nodiscard]] virtual std::size_t maxEventSize(void* buffer) = 0;
    /// Reserves an event after those in the buffer; null if there is no room.
    [[nodiscard]] virtual std::uint8_t* reserve(void* buffer, std::uint32_t time, std::size_t size) = 0;
};

}  // namespace corvel::hosts
