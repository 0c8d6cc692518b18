#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace corvel {

/// `base` if the name is free, otherwise `base` with " 2", " 3" and so on, the first that is free. Names are compared
/// byte by byte.
[[nodiscard]] std::string uniqueName(std::string_view base, const std::unordered_set<std::string_view>& taken);

}  // namespace corvel
