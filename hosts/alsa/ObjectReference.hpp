#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "core/host/MIDIHost.hpp"
#include "hosts/alsa/PortDescription.hpp"

#include <cstdint>

/// The engine's references to the sequencer's objects. They are unique and never 0, and leave the bits above
/// `kMIDIObjectRefBits` free. Most of the other bits are for endpoints, of which there may be many in a short time.
namespace corvel::hosts {

enum class ObjectKind : std::uint8_t { none, device, entity, client, port };

namespace detail {

inline constexpr unsigned kClassShift = 28;
inline constexpr std::uint32_t kSourceClass = 1;
inline constexpr std::uint32_t kDestinationClass = 2;
inline constexpr unsigned kKindShift = 16;
inline constexpr unsigned kGenerationShift = 16;
inline constexpr unsigned kClientShift = 8;
inline constexpr std::uint32_t kGenerationMask = 0xFFF;
inline constexpr std::uint32_t kNumberMask = 0xFFFF;
inline constexpr std::uint32_t kByteMask = 0xFF;

static_assert(kDestinationClass << kClassShift < 1U << kMIDIObjectRefBits);

}  // namespace detail

/// The reference of an endpoint. The generation distinguishes ports that had the same address one after the other; it
/// repeats after 4,096 endpoints.
[[nodiscard]] constexpr MIDIObjectRef endpointReference(const PortAddress& address, MIDIEndpointDirection direction,
                                                        std::uint32_t generation) {
    const std::uint32_t kind =
        direction == MIDIEndpointDirection::source ? detail::kSourceClass : detail::kDestinationClass;
    return kind << detail::kClassShift | (generation & detail::kGenerationMask) << detail::kGenerationShift |
           (static_cast<std::uint32_t>(address.client) & detail::kByteMask) << detail::kClientShift |
           (static_cast<std::uint32_t>(address.port) & detail::kByteMask);
}

/// The address in a reference made by `endpointReference`.
[[nodiscard]] constexpr PortAddress portAddress(MIDIObjectRef endpoint) {
    return {static_cast<int>(endpoint >> detail::kClientShift & detail::kByteMask),
            static_cast<int>(endpoint & detail::kByteMask)};
}

/// The reference of any other object, by its number (up to 65,535): a device's index in the tree, an entity's client
/// number, an own port.
[[nodiscard]] constexpr MIDIObjectRef objectReference(ObjectKind kind, int number) {
    return static_cast<MIDIObjectRef>(kind) << detail::kKindShift |
           (static_cast<std::uint32_t>(number) & detail::kNumberMask);
}

/// The number in a reference made by `objectReference`.
[[nodiscard]] constexpr int objectNumber(MIDIObjectRef ref) {
    return static_cast<int>(ref & detail::kNumberMask);
}

/// The reference of another client's port, for both directions.
[[nodiscard]] constexpr MIDIObjectRef portReference(const PortAddress& address) {
    return objectReference(ObjectKind::port, address.client << detail::kClientShift | address.port);
}

}  // namespace corvel::hosts
