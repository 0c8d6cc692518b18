#include "tests/support/HeapCounter.hpp"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocationCount{0};

void* allocate(std::size_t size, std::size_t alignment) {
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    // aligned_alloc requires a multiple of the alignment.
    void* memory = alignment <= alignof(std::max_align_t)
                       ? std::malloc(size)
                       : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

namespace corvel::tests {

std::size_t heapAllocationCount() {
    return allocationCount.load(std::memory_order_relaxed);
}

}  // namespace corvel::tests

// The standard library's other forms of new and delete call these. The address sanitizer replaces them; its new that
// does not throw does not call the one here, so it is replaced too.
void* operator new(std::size_t size) {
    return allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
