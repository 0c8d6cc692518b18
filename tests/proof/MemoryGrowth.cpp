#include "tests/proof/MemoryGrowth.hpp"

#include "tests/proof/Proof.hpp"

#include <algorithm>
#include <string>

namespace corvel::tests {

namespace {

constexpr std::chrono::seconds kWholeWarmUp{60};
constexpr long kMaxGrowthKiB = 1024;
constexpr long kMaxEarlyGrowthKiB = 8192;

}  // namespace

MemoryGrowth::MemoryGrowth(const ChildProcess& program, std::chrono::seconds duration)
    : program_(program),
      warmUp_(std::min(kWholeWarmUp, duration / 2)),
      end_(std::chrono::steady_clock::now() + warmUp_) {}

void MemoryGrowth::watch() {
    if (before_ < 0 && std::chrono::steady_clock::now() >= end_) {
        before_ = program_.memoryKiB("VmRSS");
    }
}

void MemoryGrowth::report() const {
    const long growth = program_.memoryKiB("VmRSS") - before_;
    const bool isWarm = warmUp_ == kWholeWarmUp;
    const bool isKept = before_ >= 0 && growth <= (isWarm ? kMaxGrowthKiB : kMaxEarlyGrowthKiB);
    tests::report(
        isWarm ? "Memory stays within 1 MB after the first minute" : "Memory stays within 8 MB in the first minute", 1,
        isKept ? 1 : 0, std::to_string(growth) + " KiB more after " + std::to_string(warmUp_.count()) + " s");
}

}  // namespace corvel::tests
