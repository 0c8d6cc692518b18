#pragma once

#include <boost/circular_buffer.hpp>

#include <cstddef>

namespace corvel {

/// An empty ring whose memory has been written to once. Memory that is only reserved costs a page fault, thousands of
/// instructions, wherever a thread first touches it; one that routes must not wait for that in the middle of a burst.
template <typename Value>
[[nodiscard]] boost::circular_buffer<Value> makeWarmRing(std::size_t capacity, const Value& filler) {
    boost::circular_buffer<Value> ring(capacity, filler);
    ring.clear();
    return ring;
}

}  // namespace corvel
