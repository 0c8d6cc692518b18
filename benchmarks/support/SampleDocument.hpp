#pragma once

#include "core/routes/MIDIRouteSetDocument.hpp"

#include <cstddef>
#include <cstdint>
#include <string>

namespace corvel::benchmarks {

/// The size of a sample document. Endpoint IDs are 1 to `endpointsPerDirection` in either direction.
struct DocumentSize {
    std::size_t sets = 20;
    std::size_t connectionsPerSet = 50;
    std::size_t assignmentsPerConnection = 4;
    std::int32_t endpointsPerDirection = 50;

    [[nodiscard]] std::size_t assignments() const { return sets * connectionsPerSet * assignmentsPerConnection; }
};

/// The endpoints' labels in the document.
[[nodiscard]] std::string sourceLabel(std::int32_t id);
[[nodiscard]] std::string destinationLabel(std::int32_t id);
inline constexpr const char* kManufacturerLabel = "Maker of Instruments";

/// A document that uses all fields: labels, shortcuts, forced channels. Every second connection is paused.
[[nodiscard]] MIDIRouteSetDocument makeDocument(const DocumentSize& size);

}  // namespace corvel::benchmarks
