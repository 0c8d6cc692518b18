// Feeds arbitrary bytes to the reader of the connection-sets document, in both its forms. A document that is read must
// be valid and survive writing and reading; a refused one must be refused by a DecodingError.

#include "core/routes/MIDIRouteSetDocument.hpp"
#include "core/storage/RouteSetDocumentCoder.hpp"
#include "fuzz/Invariant.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace {

using namespace corvel;
using fuzz::require;

/// No value if the text is refused as it should be.
std::optional<MIDIRouteSetDocument> read(std::string_view text) {
    try {
        return RouteSetDocumentCoder::decode(text);
    } catch (const DecodingError& error) {
        require(!std::string_view(error.what()).empty(), "a refusal says why", [] { return std::string(); });
        return std::nullopt;
    } catch (const std::exception& error) {
        fuzz::fail("a text is refused by a DecodingError alone", error.what());
    }
}

void checkSound(const MIDIRouteSetDocument& document, const std::string& text) {
    const auto evidence = [&text] { return "written\n" + text; };
    require(document == document.normalized(), "a document that was read is normalised", evidence);
    for (const MIDIRouteSet& routeSet : document.routeSets) {
        for (const MIDIRoute& route : routeSet.routes) {
            const MIDIRouteVariant* active = route.activeVariant();
            require(active != nullptr, "a connection's active assignment is one of its own", evidence);
            require(std::ranges::all_of(route.variants, [](const auto& variant) { return bool(variant.channelMode); }),
                    "every assignment that was read has a mode", evidence);
            require(route.channelMode == active->channelMode && route.sourceID == active->sourceID &&
                        route.destinationID == active->destinationID && route.sourceName == active->sourceName &&
                        route.sourceManufacturer == active->sourceManufacturer &&
                        route.destinationName == active->destinationName &&
                        route.destinationManufacturer == active->destinationManufacturer,
                    "a connection mirrors its active assignment", evidence);
        }
    }
}

/// A missing id gets a new value at every reading, so the written form is read again, not the input.
void checkWritten(const MIDIRouteSetDocument& document) {
    const std::string text = RouteSetDocumentCoder::encode(document);
    checkSound(document, text);
    const std::optional<MIDIRouteSetDocument> again = read(text);
    const auto evidence = [&text] { return "written\n" + text; };
    require(again.has_value(), "what was written can be read", evidence);
    require(*again == document, "what was written reads as it was", evidence);
    require(std::hash<MIDIRouteSetDocument>()(*again) == std::hash<MIDIRouteSetDocument>()(document),
            "equal documents have equal hashes", evidence);
    require(RouteSetDocumentCoder::encode(*again) == text, "what was read is written as it was", evidence);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto document = read(text)) {
        checkWritten(*document);
    }
    return 0;
}
