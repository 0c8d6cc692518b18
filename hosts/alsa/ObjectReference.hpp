#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "core/host/MIDIHost.hpp"
#include "hosts/alsa/PortDescription.hpp"

#include <cstdint>

/// The references by which the engine names the sequencer's objects: the kind in the upper bits, so that no two objects
/// share one and none is 0.
namespace corvel::hosts {

enum class ObjectKind : std::uint8_t { none, source, destination, device, entity, client, port };

namespace detail {

inline constexpr unsigned kKindShift = 29;
inline constexpr unsigned kGenerationShift = 16;
inline constexpr unsigned kClientShift = 8;
inline constexpr std::uint32_t kGenerationMask = 0x1FFF;
inline constexpr std::uint32_t kByteMask = 0xFF;

}  // namespace detail

/// The reference of an endpoint. The generation tells a port from those that had its address before; it repeats after
/// 8,192 endpoints.
[[nodiscard]] constexpr MIDIObjectRef endpointReference(const PortAddress& address, MIDIEndpointDirection direction,
                                                        std::uint32_t generation) {
    const auto kind = direction == MIDIEndpointDirection::source ? ObjectKind::source : ObjectKind::destination;
    return static_cast<MIDIObjectRef>(kind) << detail::kKindShift |
           (generation & detail::kGenerationMask) << detail::kGenerationShift |
           (static_cast<std::uint32_t>(address.client) & detail::kByteMask) << detail::kClientShift |
           (static_cast<std::uint32_t>(address.port) & detail::kByteMask);
}

/// The reference of another client's port, for both directions.
[[nodiscard]] constexpr MIDIObjectRef portReference(const PortAddress& address) {
    return static_cast<MIDIObjectRef>(ObjectKind::port) << detail::kKindShift |
           (static_cast<std::uint32_t>(address.client) & detail::kByteMask) << detail::kClientShift |
           (static_cast<std::uint32_t>(address.port) & detail::kByteMask);
}

/// The address in a reference made by `endpointReference`.
[[nodiscard]] constexpr PortAddress portAddress(MIDIObjectRef endpoint) {
    return {static_cast<int>(endpoint >> detail::kClientShift & detail::kByteMask),
            static_cast<int>(endpoint & detail::kByteMask)};
}

/// The reference of anything else, by its number: a device's index in the tree, an entity's client number, an own port.
[[nodiscard]] constexpr MIDIObjectRef objectReference(ObjectKind kind, int number) {
    return static_cast<MIDIObjectRef>(kind) << detail::kKindShift | static_cast<std::uint32_t>(number);
}

/// The number in a reference made by `objectReference`.
[[nodiscard]] constexpr int objectNumber(MIDIObjectRef ref) {
    return static_cast<int>(ref & ((1U << detail::kKindShift) - 1));
}

}  // namespace corvel::hosts
