#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <variant>

namespace corvel {

/// What happens to the channel of channel-voice messages on a connection.
struct ChannelMode {
    /// Channels pass through unchanged.
    struct AsIs {
        bool operator==(const AsIs&) const = default;
    };
    /// Every channel-voice message is put on one channel.
    struct Force {
        /// 1-based MIDI channel, 1 to 16. Other numbers can be stored and change no message.
        int channel = 1;
        bool operator==(const Force&) const = default;
    };

    std::variant<AsIs, Force> value = AsIs{};

    [[nodiscard]] static ChannelMode asIs() { return {AsIs{}}; }
    [[nodiscard]] static ChannelMode force(int channel) { return {Force{channel}}; }

    /// The channel of a forced mode, no value for `asIs`.
    [[nodiscard]] std::optional<int> forcedChannel() const;

    /// "As Is", or "Ch " and the channel in decimal.
    [[nodiscard]] std::string title() const;

    bool operator==(const ChannelMode&) const = default;
};

}  // namespace corvel

template <>
struct std::hash<corvel::ChannelMode> {
    std::size_t operator()(const corvel::ChannelMode& mode) const noexcept;
};
