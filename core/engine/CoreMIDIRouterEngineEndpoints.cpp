#include "core/engine/CoreMIDIRouterEngine.hpp"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace corvel {

namespace {

std::string objectTypeName(std::int32_t type) {
    switch (type) {
        case MIDINotification::kOther:
            return "other";
        case MIDINotification::kDevice:
            return "device";
        case MIDINotification::kEntity:
            return "entity";
        case MIDINotification::kSource:
            return "source";
        case MIDINotification::kDestination:
            return "destination";
        case MIDINotification::kExternalDevice:
            return "externalDevice";
        case MIDINotification::kExternalEntity:
            return "externalEntity";
        case MIDINotification::kExternalSource:
            return "externalSource";
        case MIDINotification::kExternalDestination:
            return "externalDestination";
        default:
            return "type " + std::to_string(type);
    }
}

std::string describeAddRemoveNotification(const MIDINotification& notification, std::string_view action) {
    return std::string(action) + ": child=" + std::to_string(notification.child) +
           ", childType=" + objectTypeName(notification.childType) +
           ", parentType=" + objectTypeName(notification.parentType);
}

std::string nameOf(const MIDIObjectRecord& object) {
    if (object.displayName) {
        return *object.displayName;
    }
    return object.name ? *object.name : "MIDI Endpoint " + std::to_string(object.ref);
}

std::int32_t idOf(const MIDIEndpointRecord& endpoint) {
    const std::int32_t uniqueID = endpoint.uniqueID.value_or(0);
    return uniqueID != 0 ? uniqueID : static_cast<std::int32_t>(endpoint.ref);
}

std::vector<MIDIEndpointModel> models(const std::vector<MIDIEndpointRecord>& endpoints,
                                      MIDIEndpointDirection direction) {
    std::vector<MIDIEndpointModel> models;
    models.reserve(endpoints.size());
    for (const MIDIEndpointRecord& endpoint : endpoints) {
        if (endpoint.ref != 0) {
            models.push_back({.id = idOf(endpoint),
                              .endpointRef = endpoint.ref,
                              .displayName = nameOf(endpoint),
                              .manufacturer = endpoint.manufacturer,
                              .direction = direction,
                              .isOnline = !endpoint.isOffline.value_or(false),
                              .port = endpoint.port,
                              .isLoopback = endpoint.isLoopback});
        }
    }
    return models;
}

std::string indexed(std::string_view what, std::size_t index) {
    return std::string(what) + "[" + std::to_string(index) + "] ";
}

void appendEndpointSummaries(std::string& summary, std::string_view title,
                             const std::vector<MIDIObjectRecord>& endpoints) {
    for (std::size_t index = 0; index < endpoints.size(); ++index) {
        summary += "\n    " + indexed(title, index) + nameOf(endpoints[index]);
    }
}

void appendDeviceSummaries(std::string& summary, std::string_view title, const std::vector<MIDIDeviceRecord>& devices) {
    for (std::size_t deviceIndex = 0; deviceIndex < devices.size(); ++deviceIndex) {
        const MIDIDeviceRecord& device = devices[deviceIndex];
        summary += "\n- " + indexed(title, deviceIndex) + nameOf(device) +
                   (device.isOffline.value_or(false) ? " offline, " : " online, ") +
                   std::to_string(device.entities.size()) + " entities";
        for (std::size_t entityIndex = 0; entityIndex < device.entities.size(); ++entityIndex) {
            const MIDIEntityRecord& entity = device.entities[entityIndex];
            summary += "\n  " + indexed("entity", entityIndex) + nameOf(entity) + ": " +
                       std::to_string(entity.sources.size()) + " sources, " +
                       std::to_string(entity.destinations.size()) + " destinations";
            appendEndpointSummaries(summary, "source", entity.sources);
            appendEndpointSummaries(summary, "destination", entity.destinations);
        }
    }
}

std::string deviceTreeSummary(const MIDISetup& setup) {
    std::string summary = "Device tree: " + std::to_string(setup.devices.size()) + " devices, " +
                          std::to_string(setup.externalDevices.size()) + " external devices";
    appendDeviceSummaries(summary, "device", setup.devices);
    appendDeviceSummaries(summary, "external", setup.externalDevices);
    return summary;
}

}  // namespace

std::string CoreMIDIRouterEngine::describe(const MIDINotification& notification) {
    switch (notification.messageID) {
        case MIDINotification::kSetupChanged:
            return "setup changed";
        case MIDINotification::kObjectAdded:
            return describeAddRemoveNotification(notification, "object added");
        case MIDINotification::kObjectRemoved:
            return describeAddRemoveNotification(notification, "object removed");
        case MIDINotification::kPropertyChanged:
            return "property changed";
        case MIDINotification::kThruConnectionsChanged:
            return "thru connections changed";
        case MIDINotification::kSerialPortOwnerChanged:
            return "serial port owner changed";
        case MIDINotification::kIOError:
            return "I/O error";
        default:
            return "message " + std::to_string(notification.messageID);
    }
}

MIDIEndpoints CoreMIDIRouterEngine::endpoints() {
    std::shared_ptr<const MIDISetup> setup;
    queue_->sync([this, &setup] { setup = host_->setup(MIDIListing::known); });
    if (!setup) {
        // The queue has ended.
        return {};
    }
    // On the caller's thread, so that MIDI does not wait while thousands of names are copied.
    return {.sources = models(setup->sources, MIDIEndpointDirection::source),
            .destinations = models(setup->destinations, MIDIEndpointDirection::destination)};
}

void CoreMIDIRouterEngine::reloadEndpoints() {
    queue_->async([weakEngine = weak_from_this()] {
        if (const auto engine = weakEngine.lock()) {
            engine->reloadEndpointsOnQueue("manual refresh", MIDIListing::afresh);
            engine->notifyEndpointsChanged();
        }
    });
}

void CoreMIDIRouterEngine::reloadEndpointsOnQueue(std::string_view reason, MIDIListing listing) {
    if (!isStarted_) {
        logDiagnostic("Skipped endpoint reload before engine start");
        return;
    }
    // The tables are replaced only when the new ones are complete: the service may deliver packets from before a change
    // while it lists and connects.
    const std::shared_ptr<const MIDISetup> setup = host_->setup(listing);
    for (const MIDIObjectRef source : connectedSourceRefs_) {
        // A failure means that the source is gone or was not connected; nothing needs to be done then.
        host_->disconnectSource(inputPort_, source);
    }
    connectedSourceRefs_.clear();
    connectedSourceRefs_.reserve(setup->sources.size());
    std::vector<RouteTable::Endpoint> sources;
    std::vector<RouteTable::Endpoint> destinations;
    sources.reserve(setup->sources.size());
    destinations.reserve(setup->destinations.size());
    for (const MIDIEndpointRecord& source : setup->sources) {
        if (source.ref == 0) {
            continue;
        }
        sources.push_back({.ref = source.ref, .id = idOf(source)});
        const MIDIStatus status = host_->connectSource(inputPort_, source.ref, source.ref);
        if (status == kMIDISuccess) {
            connectedSourceRefs_.push_back(source.ref);
        } else {
            reportIfFailed(status, "MIDI source could not be connected: " + nameOf(source));
        }
    }
    for (const MIDIEndpointRecord& destination : setup->destinations) {
        if (destination.ref != 0) {
            destinations.push_back({.ref = destination.ref, .id = idOf(destination)});
        }
    }
    endHeldNotes(routeTable_.setEndpoints(std::move(sources), destinations));
    tellUsedEndpoints();

    logDiagnostic("Endpoint reload (" + std::string(reason) + "): " + std::to_string(setup->sources.size()) +
                  " sources, " + std::to_string(setup->destinations.size()) + " destinations, " +
                  std::to_string(connectedSourceRefs_.size()) + " source connections");
    logDiagnostic(deviceTreeSummary(*setup));
}

void CoreMIDIRouterEngine::notifyEndpointsChanged() {
    post(MIDIEndpointsReport{});
}

void CoreMIDIRouterEngine::handleMIDISetupChanged(std::string reason) {
    queue_->async([weakEngine = weak_from_this(), reason = std::move(reason)] {
        if (const auto engine = weakEngine.lock()) {
            engine->logDiagnostic("CoreMIDI notification: " + reason);
            engine->reloadEndpointsOnQueue("notification immediate", MIDIListing::known);
            engine->notifyEndpointsChanged();
            engine->scheduleSettledEndpointRefreshOnQueue();
        }
    });
}

void CoreMIDIRouterEngine::scheduleSettledEndpointRefreshOnQueue() {
    if (pendingEndpointRefreshWorkItem_) {
        pendingEndpointRefreshWorkItem_->cancel();
    }
    pendingEndpointRefreshWorkItem_ = std::make_shared<DispatchWorkItem>([weakEngine = weak_from_this()] {
        if (const auto engine = weakEngine.lock()) {
            engine->reloadEndpointsOnQueue("notification settled", MIDIListing::afresh);
            engine->notifyEndpointsChanged();
        }
    });
    queue_->asyncAfter(kSettleDelay, pendingEndpointRefreshWorkItem_);
}

}  // namespace corvel
