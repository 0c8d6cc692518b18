#include "core/routes/ChannelMode.hpp"

#include "core/support/Hash.hpp"

namespace corvel {

std::optional<int> ChannelMode::forcedChannel() const {
    if (const auto* const forced = std::get_if<Force>(&value)) {
        return forced->channel;
    }
    return std::nullopt;
}

std::string ChannelMode::title() const {
    const std::optional<int> channel = forcedChannel();
    return channel ? "Ch " + std::to_string(*channel) : "As Is";
}

}  // namespace corvel

std::size_t std::hash<corvel::ChannelMode>::operator()(const corvel::ChannelMode& mode) const noexcept {
    const std::size_t caseIndex = mode.value.index();
    const std::optional<int> channel = mode.forcedChannel();
    return channel ? corvel::hashOf(caseIndex, *channel) : corvel::hashOf(caseIndex);
}
