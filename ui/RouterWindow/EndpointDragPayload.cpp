#include "ui/RouterWindow/EndpointDragPayload.hpp"

#include "core/support/ApplicationIdentifier.hpp"

#include <charconv>
#include <system_error>

namespace corvel::ui::EndpointDragPayload {

namespace {

std::string prefix(MIDIEndpointDirection direction) {
    std::string prefix(kApplicationIdentifier);
    prefix += '.';
    prefix += rawValue(direction);
    return prefix + ':';
}

}  // namespace

std::string text(MIDIEndpointDirection direction, std::int32_t endpointID) {
    return prefix(direction) + std::to_string(endpointID);
}

std::optional<std::int32_t> endpointID(MIDIEndpointDirection direction, std::string_view text) {
    const std::string start = prefix(direction);
    if (!text.starts_with(start)) {
        return std::nullopt;
    }
    std::string_view number = text.substr(start.size());
    if (number.starts_with('+')) {
        number.remove_prefix(1);
        if (number.starts_with('-')) {
            return std::nullopt;
        }
    }
    std::int32_t id = 0;
    const char* const end = number.data() + number.size();
    const auto [rest, error] = std::from_chars(number.data(), end, id);
    return error == std::errc() && rest == end ? std::optional(id) : std::nullopt;
}

std::optional<std::int32_t> sourceID(std::string_view text) {
    return endpointID(MIDIEndpointDirection::source, text);
}

}  // namespace corvel::ui::EndpointDragPayload
