#pragma once

#include <cstddef>

namespace corvel::tests {

/// How many times this program has taken memory from the heap with `new`, on any thread.
[[nodiscard]] std::size_t heapAllocationCount();

}  // namespace corvel::tests
