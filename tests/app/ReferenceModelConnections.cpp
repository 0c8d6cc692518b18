#include "tests/app/ReferenceModel.hpp"

#include <algorithm>
#include <utility>

namespace corvel::tests {
namespace {

std::string modeTitle(const ChannelMode& mode) {
    return mode == ChannelMode::asIs() ? "As Is" : "Ch " + std::to_string(mode.forcedChannel().value_or(-1));
}

bool isSame(const MIDIRouteVariant& variant, const MIDIRoute& route, const ChannelMode& mode) {
    return variant.sourceID == route.sourceID && variant.destinationID == route.destinationID &&
           variant.channelMode.value_or(ChannelMode::asIs()) == mode;
}

std::string withShortcut(const std::optional<KeyboardShortcutSpec>& shortcut) {
    return shortcut ? " with " + shortcut->title() : std::string();
}

}  // namespace

void ReferenceModel::forgetGraph(const UUID& id) {
    std::erase_if(graph, [&](const MIDIActivityEvent& event) { return event.routeID == id; });
}

void ReferenceModel::connect(std::int32_t sourceID, std::int32_t destinationID) {
    const MIDIEndpointModel* const source = withID(sources, sourceID);
    const MIDIEndpointModel* const destination = withID(destinations, destinationID);
    if (source == nullptr || destination == nullptr) {
        status = std::string(source == nullptr ? "Input" : "Output") + " endpoint is no longer available";
        return;
    }
    selectedSource = sourceID;
    selectedDestination = destinationID;
    for (const MIDIRoute& route : routes) {
        if (route.sourceID == sourceID && route.destinationID == destinationID) {
            status = "Connection already exists";
            return;
        }
    }
    const UUID variantID = fresh();
    const MIDIRouteVariant variant{variantID,
                                   "As Is",
                                   std::nullopt,
                                   ChannelMode::asIs(),
                                   sourceID,
                                   destinationID,
                                   source->displayName,
                                   source->manufacturer,
                                   destination->displayName,
                                   destination->manufacturer};
    routes.emplace_back(fresh(), sourceID, destinationID, source->displayName, source->manufacturer,
                        destination->displayName, destination->manufacturer, ChannelMode::asIs(), true, variantID,
                        std::vector<MIDIRouteVariant>{variant});
    selectedRoute = routes.back().id;
    persist();
}

void ReferenceModel::deleteSelectedRoute() {
    if (selectedRoute) {
        std::erase_if(routes, [&](const MIDIRoute& route) { return route.id == *selectedRoute; });
        selectedRoute = routes.empty() ? std::nullopt : std::optional(routes.front().id);
        persist();
    }
}

void ReferenceModel::enable(const UUID& id, bool isEnabled) {
    if (MIDIRoute* const route = find(id)) {
        route->isEnabled = isEnabled;
        persist();
    }
}

void ReferenceModel::activate(const UUID& variantID, const UUID& routeID) {
    MIDIRoute* const route = find(routeID);
    if (route == nullptr || std::ranges::count(route->variants, variantID, &MIDIRouteVariant::id) == 0) {
        return;
    }
    route->activeVariantID = variantID;
    mirror(*route);
    forgetGraph(route->id);
    selectedRoute = routeID;
    persist();
    status = "Selected output channel " + modeTitle(activeOf(*route)->channelMode.value_or(ChannelMode::asIs()));
}

void ReferenceModel::add(const UUID& id, ChannelMode mode, const std::optional<KeyboardShortcutSpec>& shortcut) {
    MIDIRoute* const route = find(id);
    if (route == nullptr) {
        return;
    }
    std::vector<std::string> names;
    for (const MIDIRouteVariant& variant : route->variants) {
        names.push_back(variant.name);
        if (isSame(variant, *route, mode)) {
            status = "Channel assignment already exists";
            return;
        }
    }
    for (MIDIRouteVariant& variant : route->variants) {
        if (shortcut && variant.shortcut == shortcut) {
            variant.shortcut.reset();
        }
    }
    const UUID variantID = fresh();
    route->variants.push_back({variantID, freeName(modeTitle(mode), names), shortcut, mode, route->sourceID,
                               route->destinationID, route->sourceName, route->sourceManufacturer,
                               route->destinationName, route->destinationManufacturer});
    route->activeVariantID = variantID;
    mirror(*route);
    forgetGraph(route->id);
    persist();
    status = "Added output channel " + modeTitle(mode) + withShortcut(shortcut);
}

void ReferenceModel::update(const UUID& id, ChannelMode mode, const std::optional<KeyboardShortcutSpec>& shortcut) {
    MIDIRoute* const route = find(id);
    if (route == nullptr) {
        return;
    }
    MIDIRouteVariant* const active = activeOf(*route);
    for (const MIDIRouteVariant& variant : route->variants) {
        if (&variant != active && isSame(variant, *route, mode)) {
            status = "Channel assignment already exists";
            return;
        }
    }
    for (MIDIRouteVariant& variant : route->variants) {
        if (&variant != active && shortcut && variant.shortcut == shortcut) {
            variant.shortcut.reset();
        }
    }
    active->name = modeTitle(mode);
    active->channelMode = mode;
    active->shortcut = shortcut;
    mirror(*route);
    forgetGraph(route->id);
    persist();
    status = "Updated output channel " + modeTitle(mode) + withShortcut(shortcut);
}

void ReferenceModel::deleteActive(const UUID& id) {
    MIDIRoute* const route = find(id);
    if (route == nullptr) {
        return;
    }
    if (route->variants.size() < 2) {
        status = "A connection needs at least one output channel";
        return;
    }
    const std::string title = modeTitle(activeOf(*route)->channelMode.value_or(ChannelMode::asIs()));
    std::erase_if(route->variants,
                  [&](const MIDIRouteVariant& variant) { return variant.id == route->activeVariantID; });
    route->activeVariantID = route->variants.front().id;
    mirror(*route);
    forgetGraph(route->id);
    persist();
    status = "Deleted output channel " + title;
}

bool ReferenceModel::press(const KeyboardShortcutSpec& shortcut) {
    std::vector<std::pair<UUID, UUID>> all;
    std::vector<std::pair<UUID, UUID>> ofSelected;
    for (const MIDIRoute& route : routes) {
        for (const MIDIRouteVariant& variant : route.variants) {
            if (variant.shortcut == shortcut) {
                all.emplace_back(variant.id, route.id);
                if (selectedRoute == route.id) {
                    ofSelected.emplace_back(variant.id, route.id);
                }
            }
        }
    }
    if (!ofSelected.empty() || all.size() == 1) {
        const auto [variantID, routeID] = ofSelected.empty() ? all.front() : ofSelected.front();
        activate(variantID, routeID);
        return true;
    }
    if (!all.empty()) {
        status = shortcut.title() + " is assigned to multiple connections; select a connection first";
    }
    return !all.empty();
}

}  // namespace corvel::tests
