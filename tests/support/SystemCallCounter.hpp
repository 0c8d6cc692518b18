#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>

namespace corvel::tests {

/// Counts one thread's system calls in the kernel, from its construction on, without slowing the thread down.
class SystemCallCounter {
public:
    /// Null if the kernel has no such counter.
    [[nodiscard]] static std::unique_ptr<SystemCallCounter> of(pid_t thread);
    SystemCallCounter(const SystemCallCounter&) = delete;
    SystemCallCounter& operator=(const SystemCallCounter&) = delete;
    ~SystemCallCounter();

    /// System calls so far; throws `std::system_error` if the kernel does not return the count.
    [[nodiscard]] std::uint64_t count() const;

private:
    explicit SystemCallCounter(int descriptor) : descriptor_(descriptor) {}

    int descriptor_;
};

}  // namespace corvel::tests
