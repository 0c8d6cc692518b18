#pragma once

#include <cstddef>

namespace corvel::tests {

/// The number of heap allocations of this program by `new`, on any thread.
[[nodiscard]] std::size_t heapAllocationCount();

}  // namespace corvel::tests
