#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace corvel {

inline constexpr std::uint8_t kSysExStart = 0xF0;
inline constexpr std::uint8_t kSysExEnd = 0xF7;
inline constexpr std::uint8_t kFirstStatus = 0x80;
inline constexpr std::uint8_t kFirstRealtime = 0xF8;

[[nodiscard]] constexpr bool isData(std::uint8_t byte) {
    return byte < kFirstStatus;
}

[[nodiscard]] constexpr bool isRealtime(std::uint8_t byte) {
    return byte >= kFirstRealtime;
}

/// The length in bytes, 1 to 3, of a complete message that starts with `byte`. Data bytes and one-byte messages have
/// length 1, as has 0xF0, whose message has no fixed length.
[[nodiscard]] constexpr std::size_t nominalMessageLength(std::uint8_t byte) {
    constexpr std::array<std::uint8_t, 16> kByUpperHalf{1, 1, 1, 1, 1, 1, 1, 1, 3, 3, 3, 3, 2, 2, 3, 1};
    constexpr std::array<std::uint8_t, 16> kSystem{1, 2, 3, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    return byte < kSysExStart ? kByUpperHalf[byte >> 4U] : kSystem[byte & 0x0FU];
}

}  // namespace corvel
