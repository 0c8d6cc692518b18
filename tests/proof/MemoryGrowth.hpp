#pragma once

#include "tests/support/ChildProcess.hpp"

#include <chrono>

namespace corvel::tests {

/// How much memory a program takes after a warm-up of a minute, or of half the duration if that is shorter. Belongs to
/// one thread.
class MemoryGrowth {
public:
    /// Begins now. `program` must outlive this.
    MemoryGrowth(const ChildProcess& program, std::chrono::seconds duration);

    /// To be called often: notes the memory when the warm-up is over.
    void watch();
    /// Reports whether it grew by at most 1 MB since the warm-up; 8 MB if that was shorter than a minute, because the
    /// window then still allocates memory that it keeps.
    void report() const;

private:
    const ChildProcess& program_;
    const std::chrono::seconds warmUp_;
    const std::chrono::steady_clock::time_point end_;
    long before_ = -1;
};

}  // namespace corvel::tests
