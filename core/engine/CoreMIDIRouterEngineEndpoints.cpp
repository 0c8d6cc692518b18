#include "core/engine/CoreMIDIRouterEngine.hpp"

#include <optional>
#include <string>
#include <utility>

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
    MIDIEndpoints endpoints;
    queue_->sync([this, &endpoints] {
        const unsigned sourceCount = host_->sourceCount();
        for (unsigned index = 0; index < sourceCount; ++index) {
            if (const MIDIObjectRef source = host_->source(index); source != 0) {
                endpoints.sources.push_back(endpointModel(source, MIDIEndpointDirection::source));
            }
        }
        const unsigned destinationCount = host_->destinationCount();
        for (unsigned index = 0; index < destinationCount; ++index) {
            if (const MIDIObjectRef destination = host_->destination(index); destination != 0) {
                endpoints.destinations.push_back(endpointModel(destination, MIDIEndpointDirection::destination));
            }
        }
    });
    return endpoints;
}

void CoreMIDIRouterEngine::reloadEndpoints() {
    queue_->async([weakEngine = weak_from_this()] {
        if (const auto engine = weakEngine.lock()) {
            engine->reloadEndpointsOnQueue("manual refresh");
            engine->notifyEndpointsChanged();
        }
    });
}

void CoreMIDIRouterEngine::reloadEndpointsOnQueue(std::string_view reason) {
    if (!isStarted_ || inputPort_ == 0) {
        logDiagnostic("Skipped endpoint reload before engine start");
        return;
    }
    for (const MIDIObjectRef source : connectedSourceRefs_) {
        // A failure means that the source is gone or was not connected, and so asks for nothing.
        host_->disconnectSource(inputPort_, source);
    }
    sourceIDByEndpointRef_.clear();
    destinationRefByID_.clear();
    connectedSourceRefs_.clear();

    const unsigned sourceCount = host_->sourceCount();
    unsigned connectionCount = 0;
    for (unsigned index = 0; index < sourceCount; ++index) {
        const MIDIObjectRef source = host_->source(index);
        if (source == 0) {
            continue;
        }
        sourceIDByEndpointRef_[source] = endpointID(source);
        const MIDIStatus status = host_->connectSource(inputPort_, source, source);
        if (status == kMIDISuccess) {
            connectedSourceRefs_.insert(source);
            ++connectionCount;
        } else {
            reportIfFailed(status, "MIDI source could not be connected: " + endpointName(source));
        }
    }

    const unsigned destinationCount = host_->destinationCount();
    for (unsigned index = 0; index < destinationCount; ++index) {
        if (const MIDIObjectRef destination = host_->destination(index); destination != 0) {
            destinationRefByID_[endpointID(destination)] = destination;
        }
    }

    logDiagnostic("Endpoint reload (" + std::string(reason) + "): " + std::to_string(sourceCount) + " sources, " +
                  std::to_string(destinationCount) + " destinations, " + std::to_string(connectionCount) +
                  " source connections");
    logDiagnostic(deviceTreeSummary());
}

void CoreMIDIRouterEngine::notifyEndpointsChanged() {
    post(MIDIEndpointsReport{});
}

void CoreMIDIRouterEngine::handleMIDISetupChanged(std::string reason) {
    queue_->async([weakEngine = weak_from_this(), reason = std::move(reason)] {
        if (const auto engine = weakEngine.lock()) {
            engine->logDiagnostic("CoreMIDI notification: " + reason);
            engine->reloadEndpointsOnQueue("notification immediate");
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
            engine->reloadEndpointsOnQueue("notification settled");
            engine->notifyEndpointsChanged();
        }
    });
    queue_->asyncAfter(kSettleDelay, pendingEndpointRefreshWorkItem_);
}

std::string CoreMIDIRouterEngine::endpointName(MIDIObjectRef object) {
    if (std::optional<std::string> displayName = host_->displayName(object)) {
        return *std::move(displayName);
    }
    if (std::optional<std::string> name = host_->name(object)) {
        return *std::move(name);
    }
    return "MIDI Endpoint " + std::to_string(object);
}

std::int32_t CoreMIDIRouterEngine::endpointID(MIDIObjectRef endpoint) {
    const std::int32_t uniqueID = host_->uniqueID(endpoint).value_or(0);
    return uniqueID != 0 ? uniqueID : static_cast<std::int32_t>(endpoint);
}

MIDIEndpointModel CoreMIDIRouterEngine::endpointModel(MIDIObjectRef endpoint, MIDIEndpointDirection direction) {
    return {.id = endpointID(endpoint),
            .endpointRef = endpoint,
            .displayName = endpointName(endpoint),
            .manufacturer = host_->manufacturer(endpoint),
            .direction = direction,
            .isOnline = !host_->isOffline(endpoint).value_or(false)};
}

std::string CoreMIDIRouterEngine::deviceTreeSummary() {
    const unsigned deviceCount = host_->deviceCount();
    const unsigned externalDeviceCount = host_->externalDeviceCount();
    std::string summary = "Device tree: " + std::to_string(deviceCount) + " devices, " +
                          std::to_string(externalDeviceCount) + " external devices";
    appendDeviceSummaries(summary, "device", deviceCount, &MIDIHost::device);
    appendDeviceSummaries(summary, "external", externalDeviceCount, &MIDIHost::externalDevice);
    return summary;
}

void CoreMIDIRouterEngine::appendDeviceSummaries(std::string& summary, std::string_view title, unsigned count,
                                                 MIDIObjectRef (MIDIHost::*getter)(unsigned)) {
    const auto indexed = [](std::string_view what, unsigned index) {
        return std::string(what) + "[" + std::to_string(index) + "] ";
    };
    for (unsigned deviceIndex = 0; deviceIndex < count; ++deviceIndex) {
        const MIDIObjectRef device = (*host_.*getter)(deviceIndex);
        const unsigned entityCount = host_->entityCount(device);
        summary += "\n- " + indexed(title, deviceIndex) + endpointName(device) +
                   (host_->isOffline(device).value_or(false) ? " offline, " : " online, ") +
                   std::to_string(entityCount) + " entities";
        for (unsigned entityIndex = 0; entityIndex < entityCount; ++entityIndex) {
            const MIDIObjectRef entity = host_->entity(device, entityIndex);
            const unsigned sourceCount = host_->entitySourceCount(entity);
            const unsigned destinationCount = host_->entityDestinationCount(entity);
            summary += "\n  " + indexed("entity", entityIndex) + endpointName(entity) + ": " +
                       std::to_string(sourceCount) + " sources, " + std::to_string(destinationCount) + " destinations";
            for (unsigned index = 0; index < sourceCount; ++index) {
                summary += "\n    " + indexed("source", index) + endpointName(host_->entitySource(entity, index));
            }
            for (unsigned index = 0; index < destinationCount; ++index) {
                summary +=
                    "\n    " + indexed("destination", index) + endpointName(host_->entityDestination(entity, index));
            }
        }
    }
}

}  // namespace corvel
