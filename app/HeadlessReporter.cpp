#include "app/HeadlessReporter.hpp"

#include "app/TextLine.hpp"
#include "core/messages/MIDIMessageKind.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace corvel {

namespace {

/// What an endpoint is called now; if it is away, what it was called; without a label, its ID.
std::string endpointName(const std::vector<MIDIEndpointModel>& present, std::int32_t id,
                         const std::optional<std::string>& label) {
    if (const auto found = std::ranges::find(present, id, &MIDIEndpointModel::id); found != present.end()) {
        return escapedLine(found->displayName);
    }
    return label ? escapedLine(*label) : "ID " + std::to_string(id);
}

void appendHex(std::string& line, const MIDIBytes& bytes) {
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (index > 0) {
            line += ' ';
        }
        line += kDigits[bytes[index] >> 4U];
        line += kDigits[bytes[index] & 0x0FU];
    }
}

}  // namespace

HeadlessReporter::HeadlessReporter(const std::vector<MIDIRoute>& routes, std::shared_ptr<const Clock> clock,
                                   LineSink diagnostics, LineSink activity)
    : routes_(routes), clock_(std::move(clock)), diagnostics_(std::move(diagnostics)), activity_(std::move(activity)) {
    nameRoutes({});
}

void HeadlessReporter::midiRouterEngineDidChangeEndpoints(CoreMIDIRouterEngine& engine) {
    if (activity_) {
        nameRoutes(engine.endpoints());
    }
}

void HeadlessReporter::midiRouterEngineDidRoute(CoreMIDIRouterEngine& /*engine*/, const MIDIActivityEvent& event) {
    if (!activity_) {
        return;
    }
    const RouteNames& names = names_[event.routeID];
    std::string line = timeOfDay(event.timestamp);
    for (const std::string_view field :
         {std::string_view(names.source), std::string_view(names.destination), rawValue(event.messageKind)}) {
        line += '\t';
        line += field;
    }
    line += '\t';
    appendHex(line, event.bytes);
    line += '\n';
    activity_(std::move(line));
}

void HeadlessReporter::midiRouterEngineDidFail(CoreMIDIRouterEngine& /*engine*/, const std::string& message) {
    writeDiagnostic(clock_->now(), message);
}

void HeadlessReporter::midiRouterEngineDidLog(CoreMIDIRouterEngine& /*engine*/, const MIDIDiagnosticEvent& event) {
    writeDiagnostic(event.timestamp, event.message);
}

void HeadlessReporter::writeDiagnostic(Instant instant, const std::string& message) const {
    std::string text = timeOfDay(instant) + ' ';
    std::string_view rest = message;
    for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        text += escapedLine(rest.substr(0, end)) + "\n  ";
        rest.remove_prefix(end + 1);
    }
    diagnostics_(text + escapedLine(rest) + '\n');
}

void HeadlessReporter::nameRoutes(const MIDIEndpoints& endpoints) {
    for (const MIDIRoute& route : routes_) {
        names_[route.id] = {endpointName(endpoints.sources, route.sourceID, route.sourceName),
                            endpointName(endpoints.destinations, route.destinationID, route.destinationName)};
    }
}

}  // namespace corvel
