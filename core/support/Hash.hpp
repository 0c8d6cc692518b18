#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace corvel {

/// Adds one field to a running hash, so that the hash of a record depends on every field and on their order.
template <typename Value>
void hashCombine(std::size_t& seed, const Value& value) {
    seed ^= std::hash<Value>{}(value) + 0x9e3779b97f4a7c15ULL + (seed << 6U) + (seed >> 2U);
}

/// Adds the length and every element, in order.
template <typename Element>
void hashCombine(std::size_t& seed, const std::vector<Element>& values) {
    hashCombine(seed, values.size());
    for (const Element& value : values) {
        hashCombine(seed, value);
    }
}

/// The hash of a record: of its fields, in the order given.
template <typename... Fields>
[[nodiscard]] std::size_t hashOf(const Fields&... fields) {
    std::size_t seed = 0;
    (hashCombine(seed, fields), ...);
    return seed;
}

}  // namespace corvel
