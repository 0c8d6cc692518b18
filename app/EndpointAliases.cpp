#include "app/EndpointAliases.hpp"

#include "core/support/Text.hpp"

#include <charconv>
#include <optional>
#include <system_error>

namespace corvel {

namespace {

using Key = std::pair<MIDIEndpointDirection, std::int32_t>;

std::string settingsKey(const Key& key) {
    return std::string(EndpointAliases::kKeyPrefix) + std::string(rawValue(key.first)) + '.' +
           std::to_string(key.second);
}

std::optional<Key> endpointOf(std::string_view settingsKey) {
    if (!settingsKey.starts_with(EndpointAliases::kKeyPrefix)) {
        return std::nullopt;
    }
    const std::string_view rest = settingsKey.substr(EndpointAliases::kKeyPrefix.size());
    const std::size_t dot = rest.find('.');
    if (dot == std::string_view::npos) {
        return std::nullopt;
    }
    const auto direction = endpointDirectionFromRawValue(rest.substr(0, dot));
    std::int32_t id = 0;
    const char* const end = rest.data() + rest.size();
    const auto [last, error] = std::from_chars(rest.data() + dot + 1, end, id);
    return direction && error == std::errc() && last == end ? std::optional(Key(*direction, id)) : std::nullopt;
}

}  // namespace

EndpointAliases::EndpointAliases(std::shared_ptr<Settings> settings) : settings_(std::move(settings)) {
    for (const std::string& key : settings_->keys()) {
        const std::optional<Key> endpoint = endpointOf(key);
        const std::string alias = endpoint ? settings_->string(key).value_or(std::string()) : std::string();
        if (!alias.empty()) {
            aliases_.emplace(*endpoint, alias);
        }
    }
}

const std::string* EndpointAliases::find(MIDIEndpointDirection direction, std::int32_t endpointID) const {
    const auto found = aliases_.find({direction, endpointID});
    return found == aliases_.end() ? nullptr : &found->second;
}

void EndpointAliases::set(MIDIEndpointDirection direction, std::int32_t endpointID, std::string_view alias) {
    const Key key(direction, endpointID);
    std::string trimmed = text::trimmed(alias);
    settings_->set(settingsKey(key), trimmed);
    if (trimmed.empty()) {
        aliases_.erase(key);
    } else {
        aliases_.insert_or_assign(key, std::move(trimmed));
    }
}

}  // namespace corvel
