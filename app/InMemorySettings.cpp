#include "app/InMemorySettings.hpp"

namespace corvel {

std::optional<std::string> InMemorySettings::string(std::string_view key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

void InMemorySettings::set(std::string_view key, std::string_view value) {
    values_.insert_or_assign(std::string(key), std::string(value));
}

std::vector<std::string> InMemorySettings::keys() const {
    std::vector<std::string> keys;
    keys.reserve(values_.size());
    for (const auto& [key, value] : values_) {
        keys.push_back(key);
    }
    return keys;
}

}  // namespace corvel
