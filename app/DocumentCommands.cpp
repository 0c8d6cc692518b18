#include "app/DocumentCommands.hpp"

#include "app/TextLine.hpp"
#include "core/support/Text.hpp"
#include "core/support/UUID.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>
#include <variant>
#include <vector>

namespace corvel::DocumentCommands {

namespace {

constexpr int kSucceeded = 0;
constexpr int kFailed = 1;

/// The ID or name in an endpoint argument.
using EndpointKey = std::variant<std::int32_t, std::string>;

/// One of the objects that the user can choose from if an argument is not unique.
struct Candidate {
    std::string name;
    std::string id;
};

/// The ID that an argument means, or the failure if there is none.
using Found = std::variant<std::int32_t, CommandResult>;

CommandResult failure(std::string text) {
    return {kFailed, std::move(text)};
}

/// A name between quotes as it is listed: always on one line.
std::string inQuotes(std::string_view name) {
    return text::quoted(escapedLine(name));
}

/// The result of a command that the model has carried out.
CommandResult outcome(const MIDIRouterViewModel& model) {
    const std::optional<std::string>& saveFailure = model.saveFailure();
    return saveFailure ? failure(escapedLine(*saveFailure))
                       : CommandResult{kSucceeded, escapedLine(model.statusMessage())};
}

/// `text` and the candidates, one on each line.
CommandResult failureWithCandidates(std::string text, std::string_view heading,
                                    const std::vector<Candidate>& candidates) {
    if (!candidates.empty()) {
        text += std::string("; ") + std::string(heading) + ':';
    }
    for (const Candidate& candidate : candidates) {
        text += "\n  " + candidate.name + "  (ID " + candidate.id + ')';
    }
    return failure(std::move(text));
}

/// A name matches as it is, and as it is listed, with codes for line breaks and invisible characters.
bool isCalled(const std::string& name, std::string_view argument) {
    return name == argument || escapedName(name) == argument;
}

bool readsAsNumber(std::string_view text) {
    const std::string_view digits = text.substr(!text.empty() && (text.front() == '-' || text.front() == '+') ? 1 : 0);
    return !digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos;
}

/// No value for a number that is not an ID because it needs more than 32 bits.
std::optional<EndpointKey> endpointKey(std::string_view argument) {
    if (!readsAsNumber(argument)) {
        return std::string(argument);
    }
    const std::string_view number = argument.substr(argument.front() == '+' ? 1 : 0);
    std::int32_t id = 0;
    if (std::from_chars(number.data(), number.data() + number.size(), id).ec != std::errc()) {
        return std::nullopt;
    }
    return id;
}

/// The words for an input or an output in the commands' answers.
struct Side {
    std::string_view noun;
    std::string_view plural;
};

constexpr Side kInput{"input", "inputs"};
constexpr Side kOutput{"output", "outputs"};

CommandResult notAnID(std::string_view argument) {
    return failure(std::string(argument) + " is not an endpoint ID: IDs are from -2147483648 to 2147483647");
}

Found findEndpoint(std::string_view argument, const std::vector<MIDIEndpointModel>& endpoints, const Side& side) {
    const std::optional<EndpointKey> key = endpointKey(argument);
    if (!key) {
        return notAnID(argument);
    }
    if (const auto* const id = std::get_if<std::int32_t>(&*key)) {
        return *id;
    }
    std::vector<Candidate> all;
    std::vector<Candidate> matches;
    std::int32_t id = 0;
    for (const MIDIEndpointModel& endpoint : endpoints) {
        all.push_back({escapedName(endpoint.displayName), std::to_string(endpoint.id)});
        if (isCalled(endpoint.displayName, argument)) {
            matches.push_back(all.back());
            id = endpoint.id;
        }
    }
    if (matches.empty()) {
        return failureWithCandidates("There is no " + std::string(side.noun) + ' ' + inQuotes(argument),
                                     "the " + std::string(side.plural) + " are", all);
    }
    if (matches.size() > 1) {
        return failureWithCandidates("Several " + std::string(side.plural) + " are called " + inQuotes(argument),
                                     "give the ID of one", matches);
    }
    return id;
}

const MIDIRoute* findConnection(const MIDIRouterViewModel& model, std::int32_t sourceID, std::int32_t destinationID) {
    const auto found = std::ranges::find_if(model.routes(), [&](const MIDIRoute& route) {
        return route.sourceID == sourceID && route.destinationID == destinationID;
    });
    return found == model.routes().end() ? nullptr : &*found;
}

/// Adds an assignment on the channel, or activates an existing one.
void activateChannel(MIDIRouterViewModel& model, const MIDIRoute& route, int channel) {
    const ChannelMode mode = ChannelMode::force(channel);
    const auto existing = std::ranges::find_if(route.variants, [&](const MIDIRouteVariant& variant) {
        return variant.channelMode == mode && variant.sourceID == route.sourceID &&
               variant.destinationID == route.destinationID;
    });
    const UUID routeID = route.id;
    if (existing == route.variants.end()) {
        model.addChannelAssignment(routeID, mode, std::nullopt);
    } else {
        const UUID variantID = existing->id;
        model.setActiveVariant(variantID, routeID);
    }
}

bool matches(const EndpointKey& key, std::int32_t id, const std::string& name) {
    const auto* const wantedID = std::get_if<std::int32_t>(&key);
    return wantedID != nullptr ? *wantedID == id : isCalled(name, std::get<std::string>(key));
}

std::string sourceName(const MIDIRouterViewModel& model, const MIDIRoute& route) {
    return MIDIRouterViewModel::endpointName(route.sourceID, model.sources(), route.sourceName);
}

std::string destinationName(const MIDIRouterViewModel& model, const MIDIRoute& route) {
    return MIDIRouterViewModel::endpointName(route.destinationID, model.destinations(), route.destinationName);
}

Candidate candidate(const MIDIRouterViewModel& model, const MIDIRoute& route) {
    return {escapedName(sourceName(model, route)) + " to " + escapedName(destinationName(model, route)),
            std::to_string(route.sourceID) + " to " + std::to_string(route.destinationID)};
}

std::string countText(const MIDIRouteSet& routeSet) {
    const std::size_t count = routeSet.routes.size();
    return std::to_string(count) + (count == 1 ? " connection" : " connections");
}

CommandResult answer(MIDIRouterViewModel& model, const CommandLine::Connect& connection) {
    return connect(model, connection.source, connection.destination, connection.channel);
}

CommandResult answer(MIDIRouterViewModel& model, const CommandLine::Disconnect& connection) {
    return disconnect(model, connection.source, connection.destination);
}

CommandResult answer(MIDIRouterViewModel& model, const CommandLine::SelectSet& selection) {
    return selectSet(model, selection.set);
}

CommandResult answer(const MIDIRouterViewModel& model, const CommandLine::ListSets& /*command*/) {
    return listSets(model);
}

CommandResult answer(MIDIRouterViewModel& model, const CommandLine::AllNotesOff& /*command*/) {
    return allNotesOff(model);
}

}  // namespace

CommandResult perform(MIDIRouterViewModel& model, const CommandLine::DocumentCommand& command) {
    return std::visit([&model](const auto& given) { return answer(model, given); }, command);
}

CommandResult connect(MIDIRouterViewModel& model, std::string_view source, std::string_view destination,
                      std::optional<int> channel) {
    if (channel && (*channel < 1 || *channel > 16)) {
        return failure("Channel " + std::to_string(*channel) + " does not exist: channels are 1 to 16");
    }
    const Found sourceFound = findEndpoint(source, model.sources(), kInput);
    if (const auto* const reason = std::get_if<CommandResult>(&sourceFound)) {
        return *reason;
    }
    const Found destinationFound = findEndpoint(destination, model.destinations(), kOutput);
    if (const auto* const reason = std::get_if<CommandResult>(&destinationFound)) {
        return *reason;
    }
    const auto sourceID = std::get<std::int32_t>(sourceFound);
    const auto destinationID = std::get<std::int32_t>(destinationFound);
    const bool existed = findConnection(model, sourceID, destinationID) != nullptr;
    if (!channel || !existed) {
        model.connect(sourceID, destinationID);
    }
    const MIDIRoute* const connection = findConnection(model, sourceID, destinationID);
    if (connection == nullptr || (existed && !channel)) {
        return failure(escapedLine(model.statusMessage()));
    }
    if (channel) {
        activateChannel(model, *connection, *channel);
    }
    return outcome(model);
}

CommandResult disconnect(MIDIRouterViewModel& model, std::string_view source, std::string_view destination) {
    const std::optional<EndpointKey> sourceKey = endpointKey(source);
    const std::optional<EndpointKey> destinationKey = endpointKey(destination);
    if (!sourceKey || !destinationKey) {
        return notAnID(sourceKey ? destination : source);
    }
    std::vector<Candidate> all;
    std::vector<Candidate> found;
    std::vector<UUID> foundIDs;
    for (const MIDIRoute& route : model.routes()) {
        all.push_back(candidate(model, route));
        if (matches(*sourceKey, route.sourceID, sourceName(model, route)) &&
            matches(*destinationKey, route.destinationID, destinationName(model, route))) {
            foundIDs.push_back(route.id);
            found.push_back(all.back());
        }
    }
    if (found.empty()) {
        return failureWithCandidates("There is no connection from " + inQuotes(source) + " to " + inQuotes(destination),
                                     "the connections of " + inQuotes(model.selectedRouteSetName()) + " are", all);
    }
    // Connections between the same two endpoints cannot be distinguished here, so all of them are deleted.
    if (std::ranges::any_of(found, [&](const Candidate& other) { return other.id != found.front().id; })) {
        return failureWithCandidates("Several connections go from " + inQuotes(source) + " to " + inQuotes(destination),
                                     "give the IDs of one", found);
    }
    const std::optional<UUID> selected = model.selectedRouteID();
    for (const UUID& id : foundIDs) {
        model.setSelectedRouteID(id);
        model.deleteSelectedRoute();
    }
    if (selected && model.route(*selected) != nullptr) {
        model.setSelectedRouteID(selected);
    }
    return outcome(model);
}

CommandResult selectSet(MIDIRouterViewModel& model, std::string_view set) {
    const std::optional<UUID> id = UUID::parse(set);
    std::vector<Candidate> all;
    std::vector<Candidate> matches;
    const MIDIRouteSet* found = nullptr;
    for (const MIDIRouteSet& routeSet : model.routeSets()) {
        all.push_back({escapedLine(routeSet.name), routeSet.id.text()});
        if (isCalled(routeSet.name, set) || routeSet.id == id) {
            matches.push_back(all.back());
            found = &routeSet;
        }
    }
    if (found == nullptr) {
        return failureWithCandidates("There is no set " + inQuotes(set), "the sets are", all);
    }
    if (matches.size() > 1) {
        return failureWithCandidates("Several sets are called " + inQuotes(set), "give the ID of one", matches);
    }
    if (found->id == model.selectedRouteSetID()) {
        return {kSucceeded, "Set " + inQuotes(found->name) + " is the current one already"};
    }
    model.selectRouteSet(found->id);
    return outcome(model);
}

CommandResult listSets(const MIDIRouterViewModel& model) {
    std::string text;
    for (const MIDIRouteSet& routeSet : model.routeSets()) {
        if (!text.empty()) {
            text += '\n';
        }
        text += routeSet.id == model.selectedRouteSetID() ? "* " : "  ";
        text += escapedLine(routeSet.name) + " (" + countText(routeSet) + ')';
    }
    return {kSucceeded, std::move(text)};
}

CommandResult allNotesOff(MIDIRouterViewModel& model) {
    model.allNotesOff();
    return {kSucceeded, escapedLine(model.statusMessage())};
}

}  // namespace corvel::DocumentCommands
