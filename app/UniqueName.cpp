#include "app/UniqueName.hpp"

namespace corvel {

std::string uniqueName(std::string_view base, const std::unordered_set<std::string_view>& taken) {
    std::string candidate(base);
    for (int number = 2; taken.contains(candidate); ++number) {
        candidate = std::string(base) + ' ' + std::to_string(number);
    }
    return candidate;
}

}  // namespace corvel
