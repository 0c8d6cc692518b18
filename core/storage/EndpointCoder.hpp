#pragma once

#include "core/engine/MIDIEndpointModel.hpp"
#include "core/storage/DecodingError.hpp"

#include <string>
#include <string_view>

/// The JSON form of an endpoint: an object with one key per field, named as the field, by the rules of the
/// connection-sets document.
namespace corvel::EndpointCoder {

/// A missing manufacturer is left out.
[[nodiscard]] std::string encode(const MIDIEndpointModel& endpoint);

/// Throws `DecodingError`.
[[nodiscard]] MIDIEndpointModel decode(std::string_view text);

}  // namespace corvel::EndpointCoder
