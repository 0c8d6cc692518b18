#pragma once

#include <cstdint>
#include <initializer_list>

namespace corvel {

enum class MIDIServiceKind : std::uint8_t {
    /// The ALSA sequencer.
    alsa,
    /// A JACK server, or PipeWire in its place.
    jack,
    /// Devices in memory.
    demo,
};

/// The MIDI services that the program uses: the named ones or, if none was named, all that are available, otherwise the
/// demo.
class MIDIHostChoice {
public:
    constexpr MIDIHostChoice() = default;
    constexpr MIDIHostChoice(std::initializer_list<MIDIServiceKind> services) {
        for (const MIDIServiceKind service : services) {
            add(service);
        }
    }

    constexpr void add(MIDIServiceKind service) { services_ |= bit(service); }

    [[nodiscard]] constexpr bool isAutomatic() const { return services_ == 0; }
    [[nodiscard]] constexpr bool names(MIDIServiceKind service) const { return (services_ & bit(service)) != 0; }

    /// Whether a service of the operating system was named.
    [[nodiscard]] constexpr bool namesSystem() const {
        return names(MIDIServiceKind::alsa) || names(MIDIServiceKind::jack);
    }

    /// The same choice without the demo as a replacement: all of the system's services if none was named.
    [[nodiscard]] constexpr MIDIHostChoice withoutStandIn() const {
        return isAutomatic() ? MIDIHostChoice{MIDIServiceKind::alsa, MIDIServiceKind::jack} : *this;
    }

    constexpr bool operator==(const MIDIHostChoice&) const = default;

private:
    [[nodiscard]] static constexpr std::uint8_t bit(MIDIServiceKind service) {
        return static_cast<std::uint8_t>(1U << static_cast<unsigned>(service));
    }

    std::uint8_t services_ = 0;
};

}  // namespace corvel
