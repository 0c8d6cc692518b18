#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace corvel {

/// Identity of a connection, a channel assignment, a connection set or an event: 128 bits, fixed at creation.
struct UUID {
    std::array<std::uint8_t, 16> bytes{};

    /// A new random (version 4) identifier. Any thread; after a thread's first call, no system call and no allocation.
    [[nodiscard]] static UUID random();

    /// Reads the canonical form: exactly 36 characters, with hyphens in their places and hexadecimal digits of either
    /// case. No value for any other text.
    [[nodiscard]] static std::optional<UUID> parse(std::string_view text);

    /// The canonical 36-character form in upper case.
    [[nodiscard]] std::string text() const;

    auto operator<=>(const UUID&) const = default;
};

}  // namespace corvel

template <>
struct std::hash<corvel::UUID> {
    std::size_t operator()(const corvel::UUID& value) const noexcept;
};
