#include "ui/RouterWindow/EndpointDragPayload.hpp"

#include "core/support/ApplicationIdentifier.hpp"

#include <charconv>
#include <system_error>

namespace corvel::ui::EndpointDragPayload {

namespace {

const std::string& prefix() {
    static const std::string prefix = std::string(kApplicationIdentifier) + ".source:";
    return prefix;
}

}  // namespace

std::string text(std::int32_t sourceID) {
    return prefix() + std::to_string(sourceID);
}

std::optional<std::int32_t> sourceID(std::string_view text) {
    if (!text.starts_with(prefix())) {
        return std::nullopt;
    }
    std::string_view number = text.substr(prefix().size());
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

}  // namespace corvel::ui::EndpointDragPayload
