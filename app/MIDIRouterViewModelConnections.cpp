#include "app/MIDIRouterViewModel.hpp"

#include "app/UniqueName.hpp"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace corvel {

namespace {

constexpr int kFirstChannel = 1;
constexpr int kLastChannel = 16;

/// An assignment's mode. Assignments from documents that are older than modes per assignment are "As Is".
ChannelMode modeOf(const MIDIRouteVariant& variant) {
    return variant.channelMode.value_or(ChannelMode::asIs());
}

std::string uniqueVariantName(std::string_view base, const MIDIRoute& route) {
    std::unordered_set<std::string_view> names;
    for (const MIDIRouteVariant& variant : route.variants) {
        names.insert(variant.name);
    }
    return uniqueName(base, names);
}

/// Whether the connection has an assignment, other than `ignored`, that routes as this mode does.
bool hasAssignment(const MIDIRoute& route, const ChannelMode& mode, const MIDIRouteVariant* ignored) {
    return std::ranges::any_of(route.variants, [&](const MIDIRouteVariant& variant) {
        return &variant != ignored && variant.sourceID == route.sourceID &&
               variant.destinationID == route.destinationID && modeOf(variant) == mode;
    });
}

/// Within one connection a shortcut belongs to one assignment.
void takeShortcutAway(MIDIRoute& route, const KeyboardShortcutSpec& shortcut) {
    for (MIDIRouteVariant& variant : route.variants) {
        if (variant.shortcut == shortcut) {
            variant.shortcut.reset();
        }
    }
}

std::string outputChannelMessage(std::string_view verb, const ChannelMode& mode,
                                 const std::optional<KeyboardShortcutSpec>& shortcut = std::nullopt) {
    std::string message = std::string(verb) + " output channel " + mode.title();
    if (shortcut) {
        message += " with " + shortcut->title();
    }
    return message;
}

}  // namespace

void MIDIRouterViewModel::connect(std::int32_t sourceID, std::int32_t destinationID) {
    const MIDIEndpointModel* const source = sources_.value().find(sourceID);
    if (source == nullptr) {
        statusMessage_.set("Input endpoint is no longer available");
        return;
    }
    const MIDIEndpointModel* const destination = destinations_.value().find(destinationID);
    if (destination == nullptr) {
        statusMessage_.set("Output endpoint is no longer available");
        return;
    }
    selectedSourceID_.set(sourceID);
    selectedDestinationID_.set(destinationID);
    const bool exists = std::ranges::any_of(routes(), [&](const MIDIRoute& route) {
        return route.sourceID == sourceID && route.destinationID == destinationID;
    });
    if (exists) {
        statusMessage_.set("Connection already exists");
        return;
    }
    MIDIRoute connection(UUID::random(), sourceID, destinationID, source->displayName, source->manufacturer,
                         destination->displayName, destination->manufacturer, ChannelMode::asIs(), true, std::nullopt,
                         {});
    const UUID id = connection.id;
    DocumentEdit edit = connectionEdit("Connect", id);
    routes_.edit([&](std::vector<MIDIRoute>& routes) { routes.push_back(std::move(connection)); });
    selectedRouteID_.set(id);
    recordConnectionEdit(std::move(edit));
    persistRoutes();
    warnOfFeedback(id);
}

void MIDIRouterViewModel::deleteSelectedRoute() {
    const std::optional<UUID> id = selectedRouteID();
    if (!id) {
        return;
    }
    DocumentEdit edit = connectionEdit("Delete Connection", *id);
    routes_.edit([&](std::vector<MIDIRoute>& routes) {
        std::erase_if(routes, [&](const MIDIRoute& route) { return route.id == *id; });
    });
    selectedRouteID_.set(routes().empty() ? std::nullopt : std::optional(routes().front().id));
    recordConnectionEdit(std::move(edit));
    persistRoutes();
    offerUndo();
}

void MIDIRouterViewModel::setRouteEnabled(const UUID& routeID, bool isEnabled) {
    const std::optional<std::size_t> index = routeIndex(routeID);
    if (!index) {
        return;
    }
    DocumentEdit edit = connectionEdit(isEnabled ? "Resume Connection" : "Pause Connection", routeID);
    routes_.edit([&](std::vector<MIDIRoute>& routes) { routes[*index].isEnabled = isEnabled; });
    recordConnectionEdit(std::move(edit));
    persistRoutes();
    warnOfFeedback(routeID);
}

void MIDIRouterViewModel::warnOfFeedback(const UUID& routeID) {
    if (!saveFailure_ && feedbackRouteIDs().contains(routeID)) {
        showOutcome("This connection feeds back");
    }
}

void MIDIRouterViewModel::setActiveVariant(const UUID& variantID, const UUID& routeID) {
    const std::optional<std::size_t> index = routeIndex(routeID);
    if (!index) {
        return;
    }
    const std::vector<MIDIRouteVariant>& variants = routes()[*index].variants;
    const auto variant = std::ranges::find(variants, variantID, &MIDIRouteVariant::id);
    if (variant == variants.end()) {
        return;
    }
    std::string message = outputChannelMessage("Selected", modeOf(*variant));
    routes_.edit([&](std::vector<MIDIRoute>& routes) { routes[*index].setActiveVariant(variantID); });
    selectedRouteID_.set(routeID);
    finishAssignmentCommand(routeID, std::move(message));
}

void MIDIRouterViewModel::addChannelAssignment(const UUID& routeID, ChannelMode channelMode,
                                               std::optional<KeyboardShortcutSpec> shortcut) {
    const std::optional<std::size_t> index = routeIndex(routeID);
    if (!index) {
        return;
    }
    if (hasAssignment(routes()[*index], channelMode, nullptr)) {
        statusMessage_.set("Channel assignment already exists");
        return;
    }
    DocumentEdit edit = connectionEdit("Add Output Channel", routeID);
    routes_.edit([&](std::vector<MIDIRoute>& routes) {
        MIDIRoute& route = routes[*index];
        if (shortcut) {
            takeShortcutAway(route, *shortcut);
        }
        const UUID id = UUID::random();
        route.variants.push_back({id, uniqueVariantName(MIDIRouteVariant::defaultName(channelMode), route), shortcut,
                                  channelMode, route.sourceID, route.destinationID, route.sourceName,
                                  route.sourceManufacturer, route.destinationName, route.destinationManufacturer});
        route.setActiveVariant(id);
    });
    recordConnectionEdit(std::move(edit));
    finishAssignmentCommand(routeID, outputChannelMessage("Added", channelMode, shortcut));
}

void MIDIRouterViewModel::updateActiveChannelAssignment(const UUID& routeID, ChannelMode channelMode,
                                                        std::optional<KeyboardShortcutSpec> shortcut) {
    const std::optional<std::size_t> index = routeIndex(routeID);
    if (!index) {
        return;
    }
    const MIDIRouteVariant* const active = routes()[*index].activeVariant();
    if (active == nullptr) {
        return;
    }
    if (hasAssignment(routes()[*index], channelMode, active)) {
        statusMessage_.set("Channel assignment already exists");
        return;
    }
    const auto activeIndex = static_cast<std::size_t>(active - routes()[*index].variants.data());
    DocumentEdit edit = connectionEdit("Change Output Channel", routeID);
    routes_.edit([&](std::vector<MIDIRoute>& routes) {
        MIDIRoute& route = routes[*index];
        if (shortcut) {
            takeShortcutAway(route, *shortcut);
        }
        MIDIRouteVariant& variant = route.variants[activeIndex];
        variant.name = MIDIRouteVariant::defaultName(channelMode);
        variant.channelMode = channelMode;
        variant.shortcut = shortcut;
        route.applyActiveVariant();
    });
    recordConnectionEdit(std::move(edit));
    finishAssignmentCommand(routeID, outputChannelMessage("Updated", channelMode, shortcut));
}

void MIDIRouterViewModel::deleteActiveVariant(const UUID& routeID) {
    const std::optional<std::size_t> index = routeIndex(routeID);
    if (!index) {
        return;
    }
    const MIDIRoute& current = routes()[*index];
    const UUID activeID = current.activeVariantID;
    // Assignments of an edited document may share an ID and would all be deleted; the connection keeps at least one.
    const auto remaining =
        std::ranges::find_if(current.variants, [&](const MIDIRouteVariant& variant) { return variant.id != activeID; });
    if (remaining == current.variants.end()) {
        statusMessage_.set("A connection needs at least one output channel");
        return;
    }
    const MIDIRouteVariant* const active = current.activeVariant();
    const ChannelMode deletedMode = active != nullptr ? modeOf(*active) : ChannelMode::asIs();
    DocumentEdit edit = connectionEdit("Delete Output Channel", routeID);
    routes_.edit([&](std::vector<MIDIRoute>& routes) {
        MIDIRoute& route = routes[*index];
        std::erase_if(route.variants, [&](const MIDIRouteVariant& variant) { return variant.id == activeID; });
        route.setActiveVariant(route.variants.front().id);
    });
    recordConnectionEdit(std::move(edit));
    finishAssignmentCommand(routeID, outputChannelMessage("Deleted", deletedMode));
    offerUndo();
}

ChannelMode MIDIRouterViewModel::suggestedVariantChannelMode(const MIDIRoute& route) {
    std::unordered_set<int> used;
    for (const MIDIRouteVariant& variant : route.variants) {
        if (const std::optional<int> channel = modeOf(variant).forcedChannel()) {
            used.insert(*channel);
        }
    }
    const int ownChannel = route.channelMode.forcedChannel().value_or(kFirstChannel);
    for (const int start : {std::max(ownChannel, kFirstChannel), kFirstChannel}) {
        for (int channel = start; channel <= kLastChannel; ++channel) {
            if (!used.contains(channel)) {
                return ChannelMode::force(channel);
            }
        }
    }
    return ChannelMode::asIs();
}

bool MIDIRouterViewModel::handleShortcut(const KeyboardShortcutSpec& spec) {
    const auto hasShortcut = [&](const MIDIRouteVariant& variant) { return variant.shortcut == spec; };
    const std::optional<UUID>& selectedID = selectedRouteID();
    if (const MIDIRoute* const selected = selectedID ? route(*selectedID) : nullptr) {
        const auto own = std::ranges::find_if(selected->variants, hasShortcut);
        if (own != selected->variants.end()) {
            setActiveVariant(own->id, selected->id);
            return true;
        }
    }
    struct Match {
        UUID routeID;
        UUID variantID;
    };
    std::vector<Match> matches;
    for (const MIDIRoute& route : routes()) {
        for (const MIDIRouteVariant& variant : route.variants) {
            if (hasShortcut(variant)) {
                matches.push_back({route.id, variant.id});
            }
        }
    }
    if (matches.empty()) {
        return false;
    }
    if (matches.size() > 1) {
        statusMessage_.set(spec.title() + " is assigned to multiple connections; select a connection first");
        return true;
    }
    setActiveVariant(matches.front().variantID, matches.front().routeID);
    return true;
}

std::optional<std::size_t> MIDIRouterViewModel::routeIndex(const UUID& routeID) const {
    const auto found = std::ranges::find(routes(), routeID, &MIDIRoute::id);
    if (found == routes().end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - routes().begin());
}

void MIDIRouterViewModel::finishAssignmentCommand(const UUID& routeID, std::string statusMessage) {
    // The endpoints or the channel may have changed, so the connection's pulses are out of date.
    removeGraphActivity(routeID);
    persistRoutes();
    showOutcome(std::move(statusMessage));
}

}  // namespace corvel
