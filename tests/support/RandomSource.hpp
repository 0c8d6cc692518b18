#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace corvel::tests {

/// Pseudo-random numbers that are the same on every run and machine, so that failures are reproducible.
class RandomSource {
public:
    explicit RandomSource(std::uint32_t seed) : engine_(seed) {}

    /// A number from 0 up to, but not including, `bound`.
    [[nodiscard]] std::size_t below(std::size_t bound) { return engine_() % bound; }

    [[nodiscard]] std::uint8_t byte() { return static_cast<std::uint8_t>(engine_() & 0xFFU); }

    [[nodiscard]] bool flag() { return (engine_() & 1U) != 0; }

    /// Any signed 32-bit number.
    [[nodiscard]] std::int32_t number() { return static_cast<std::int32_t>(engine_()); }

private:
    std::mt19937 engine_;
};

}  // namespace corvel::tests
