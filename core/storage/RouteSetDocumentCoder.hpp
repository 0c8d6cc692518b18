#pragma once

#include "core/routes/MIDIRouteSetDocument.hpp"
#include "core/storage/DecodingError.hpp"

#include <string>
#include <string_view>

/// The JSON form of the connection-sets document.
namespace corvel::RouteSetDocumentCoder {

using corvel::DecodingError;

/// The document as JSON: indented, keys in ascending byte order, absent optional values left out, slashes escaped, no
/// final newline. Equal documents give equal bytes. Texts that are not UTF-8 are repaired on the way. The document is
/// written as it is, without normalisation.
[[nodiscard]] std::string encode(const MIDIRouteSetDocument& document);

/// Reads a document: strict RFC 8259 JSON (one leading byte-order mark is skipped, nesting over 512 is refused),
/// unknown keys ignored, the last of duplicate keys counting. A top-level array is the older form, a list of
/// connections, and becomes one selected set named "Default". The result is normalised. Throws `DecodingError`; nothing
/// is partially read.
[[nodiscard]] MIDIRouteSetDocument decode(std::string_view text);

}  // namespace corvel::RouteSetDocumentCoder
