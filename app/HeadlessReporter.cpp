#include "app/HeadlessReporter.hpp"

#include "app/TextLine.hpp"
#include "core/messages/MIDIMessageKind.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace corvel {

namespace {

using Property = MIDIRouterViewModel::Property;

/// Priorities of the system log: a warning and an information.
constexpr std::string_view kFailure = "<4>";
constexpr std::string_view kDiagnostic = "<6>";

/// The current name of the endpoint; if it is not present, its stored label; without a label, its ID.
std::string endpointName(const std::vector<MIDIEndpointModel>& present, std::int32_t id,
                         const std::optional<std::string>& label) {
    if (const auto found = std::ranges::find(present, id, &MIDIEndpointModel::id); found != present.end()) {
        return escapedName(found->displayName);
    }
    return label ? escapedName(*label) : "ID " + std::to_string(id);
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

HeadlessReporter::HeadlessReporter(std::shared_ptr<MIDIRouterViewModel> model, std::shared_ptr<const Clock> clock,
                                   Style style, LineSink diagnostics, LineSink activity)
    : model_(std::move(model)),
      clock_(std::move(clock)),
      style_(style),
      diagnostics_(std::move(diagnostics)),
      activity_(std::move(activity)) {
    observations_ = {
        model_->observe([this](Property property) {
            areNamesStale_ |=
                property == Property::sources || property == Property::destinations || property == Property::routes;
        }),
        model_->observeFailures([this](const std::string& message) { write(kFailure, clock_->now(), message); }),
        model_->observeDiagnostics(
            [this](const MIDIDiagnosticEvent& event) { write(kDiagnostic, event.timestamp, event.message); }),
        activity_ ? model_->observeActivity([this](const MIDIActivityEvent& event) { writeActivity(event); })
                  : Observation()};
}

void HeadlessReporter::writeActivity(const MIDIActivityEvent& event) {
    if (areNamesStale_) {
        nameRoutes();
        areNamesStale_ = false;
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

void HeadlessReporter::write(std::string_view priority, Instant instant, const std::string& message) const {
    const bool isTimed = style_ == Style::timed;
    std::string text = isTimed ? timeOfDay(instant) + ' ' : std::string(priority);
    std::string_view rest = message;
    for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        text += escapedLine(rest.substr(0, end)) + '\n';
        text += isTimed ? std::string_view() : priority;
        text += "  ";
        rest.remove_prefix(end + 1);
    }
    diagnostics_(text + escapedLine(rest) + '\n');
}

void HeadlessReporter::nameRoutes() {
    for (const MIDIRoute& route : model_->routes()) {
        names_[route.id] = {endpointName(model_->sources(), route.sourceID, route.sourceName),
                            endpointName(model_->destinations(), route.destinationID, route.destinationName)};
    }
}

}  // namespace corvel
