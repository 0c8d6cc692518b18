#pragma once

#include <chrono>

namespace corvel::tests {

/// Time limit for anything that must happen. Far above what an emulated machine on a busy host needs, so that only a
/// real failure reaches it.
inline constexpr std::chrono::seconds kDeadline{20};

}  // namespace corvel::tests
