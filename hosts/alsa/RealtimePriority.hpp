#pragma once

#include <optional>
#include <string>

namespace corvel::hosts {

/// Puts the calling thread on real-time priority, as far as the system grants it. The system's text where it does not.
[[nodiscard]] std::optional<std::string> requestRealtimePriority();

}  // namespace corvel::hosts
