#pragma once

#include "core/routes/MIDIRouteSetDocument.hpp"
#include "core/storage/DecodingError.hpp"

#include <string>
#include <string_view>

/// The JSON form of the connection-sets document.
namespace corvel::RouteSetDocumentCoder {

using corvel::DecodingError;

/// The document as JSON: indented, keys in ascending byte order, missing optional values left out, slashes escaped, no
/// final newline. Equal documents give equal bytes. Invalid UTF-8 is repaired. The document is not normalised.
[[nodiscard]] std::string encode(const MIDIRouteSetDocument& document);

/// Reads a document: strict RFC 8259 JSON. One leading byte-order mark is skipped, nesting over 512 is refused, unknown
/// keys are ignored, and the last of duplicate keys counts. A top-level array is the older form, a list of connections,
/// and becomes one selected set named "Default". The result is normalised. Throws `DecodingError`; nothing is partially
/// read.
[[nodiscard]] MIDIRouteSetDocument decode(std::string_view text);

}  // namespace corvel::RouteSetDocumentCoder
