#include "app/MIDIRouterViewModel.hpp"

#include "app/FeedbackSearch.hpp"
#include "core/messages/MIDIMessageKind.hpp"

#include <algorithm>
#include <iterator>
#include <span>
#include <string>

namespace corvel {

namespace {

constexpr std::size_t kDescribedBytes = 8;

std::string hexBytes(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), kDescribedBytes))) {
        if (!text.empty()) {
            text += ' ';
        }
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0x0FU];
    }
    return text;
}

std::string nameOf(const MIDIEndpointModel* endpoint, const std::optional<std::string>& fallback) {
    return endpoint != nullptr ? endpoint->displayName : fallback.value_or("Missing Endpoint");
}

}  // namespace

RouteAvailability MIDIRouterViewModel::routeAvailability(const MIDIRoute& route) const {
    const bool hasInput = sources_.value().find(route.sourceID) != nullptr;
    const bool hasOutput = destinations_.value().find(route.destinationID) != nullptr;
    if (!hasOutput) {
        return hasInput ? RouteAvailability::missingOutput : RouteAvailability::missingEndpoints;
    }
    if (!hasInput) {
        return RouteAvailability::missingInput;
    }
    return route.isEnabled ? RouteAvailability::active : RouteAvailability::paused;
}

std::unordered_set<UUID> MIDIRouterViewModel::feedbackRouteIDs() const {
    return findFeedback(routes(), sources_.value(), destinations_.value());
}

std::string MIDIRouterViewModel::routeDetailText(const MIDIRoute& route) const {
    const MIDIRouteVariant* const active = route.activeVariant();
    const ChannelMode activeMode =
        active != nullptr ? active->channelMode.value_or(route.channelMode) : route.channelMode;
    std::string text = nameOf(sources_.value().find(route.sourceID), route.sourceName);
    text += "\nto\n";
    text += nameOf(destinations_.value().find(route.destinationID), route.destinationName);
    text += '\n' + activeMode.title();
    text += '\n' + route.channelMode.title();
    text += '\n';
    text += displayText(routeAvailability(route));
    if (active != nullptr && active->shortcut) {
        text += '\n' + active->shortcut->title();
    }
    return text;
}

std::string MIDIRouterViewModel::variantDetailText(const MIDIRouteVariant& variant) const {
    std::string text = variant.channelMode.value_or(ChannelMode::asIs()).title();
    if (variant.shortcut) {
        text += '\n' + variant.shortcut->title();
    }
    text += '\n' + nameOf(sources_.value().find(variant.sourceID), variant.sourceName);
    text += '\n' + nameOf(destinations_.value().find(variant.destinationID), variant.destinationName);
    return text;
}

const MIDIActivityEvent* MIDIRouterViewModel::recentActivity(const UUID& routeID) const {
    const auto newest = std::find_if(activityEvents().rbegin(), activityEvents().rend(),
                                     [&](const MIDIActivityEvent& event) { return event.routeID == routeID; });
    return newest == activityEvents().rend() ? nullptr : &*newest;
}

std::string MIDIRouterViewModel::lastEventDescription(const UUID& routeID) const {
    const MIDIActivityEvent* const event = recentActivity(routeID);
    if (event == nullptr) {
        return "No MIDI yet";
    }
    return std::string(rawValue(event->messageKind)) + ' ' + hexBytes(event->bytes);
}

std::vector<MIDIActivityEvent> MIDIRouterViewModel::graphActivities(const UUID& routeID) const {
    std::vector<MIDIActivityEvent> events;
    std::ranges::copy_if(graphActivityEvents_.value(), std::back_inserter(events),
                         [&](const MIDIActivityEvent& event) { return event.routeID == routeID; });
    return events;
}

const MIDIRoute* MIDIRouterViewModel::route(const UUID& routeID) const {
    const std::optional<std::size_t> index = routeIndex(routeID);
    return index ? &routes()[*index] : nullptr;
}

std::string MIDIRouterViewModel::endpointName(std::int32_t id, const std::vector<MIDIEndpointModel>& endpoints,
                                              const std::optional<std::string>& fallback) {
    const auto found = std::ranges::find(endpoints, id, &MIDIEndpointModel::id);
    return nameOf(found == endpoints.end() ? nullptr : &*found, fallback);
}

}  // namespace corvel
