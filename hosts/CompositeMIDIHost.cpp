#include "hosts/CompositeMIDIHost.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>

namespace corvel::hosts {

namespace {

/// The composite's own client and ports.
constexpr MIDIObjectRef kClientRef = 1;
constexpr MIDIObjectRef kInputPortRef = 2;
constexpr MIDIObjectRef kOutputPortRef = 3;

/// Reserved for the number of messages that the engine sends at once, so that sending allocates nothing.
constexpr std::size_t kUsualSends = 64;

constexpr MIDIObjectRef kOwnBits = (MIDIObjectRef{1} << kMIDIObjectRefBits) - 1;

std::size_t serviceOf(MIDIObjectRef ref) {
    return ref >> kMIDIObjectRefBits;
}

/// The reference in the service's own form.
MIDIObjectRef ownRef(MIDIObjectRef ref) {
    return ref & kOwnBits;
}

/// The reference of a service's object in the engine's form; 0 stays 0.
MIDIObjectRef sharedRef(MIDIObjectRef ref, std::size_t service) {
    return ref == 0 ? 0 : ref | static_cast<MIDIObjectRef>(service) << kMIDIObjectRefBits;
}

std::int32_t nextID(std::int32_t id) {
    return id == std::numeric_limits<std::int32_t>::max() ? std::numeric_limits<std::int32_t>::min() : id + 1;
}

class CompositeMIDIHost final : public MIDIHost {
public:
    explicit CompositeMIDIHost(std::vector<std::shared_ptr<MIDIHost>> services) {
        services_.reserve(services.size());
        for (std::shared_ptr<MIDIHost>& service : services) {
            services_.emplace_back();
            services_.back().host = std::move(service);
            services_.back().sends.reserve(kUsualSends);
            services_.back().places.reserve(kUsualSends);
        }
    }

    void setDiagnosticHandler(DiagnosticHandler handler) override {
        diagnosticHandler_ = handler;
        for (const Service& service : services_) {
            service.host->setDiagnosticHandler(handler);
        }
    }

    MIDICreation createClient(std::string_view name, NotificationHandler handler) override {
        return create(kClientRef, &Service::client, "MIDI client could not be created",
                      [&](const Service& service, std::size_t index) {
                          return service.host->createClient(name, translating(handler, index));
                      });
    }

    MIDICreation createInputPort(MIDIObjectRef /*client*/, std::string_view name, ReceiveHandler handler) override {
        return create(kInputPortRef, &Service::inputPort, "MIDI input port could not be created",
                      [&](const Service& service, std::size_t) {
                          return createPort(
                              service, [&] { return service.host->createInputPort(service.client, name, handler); });
                      });
    }

    MIDICreation createOutputPort(MIDIObjectRef /*client*/, std::string_view name) override {
        return create(kOutputPortRef, &Service::outputPort, "MIDI output port could not be created",
                      [&](const Service& service, std::size_t) {
                          return createPort(service,
                                            [&] { return service.host->createOutputPort(service.client, name); });
                      });
    }

    void disposePort(MIDIObjectRef port) override {
        MIDIObjectRef Service::*const member = port == kInputPortRef ? &Service::inputPort : &Service::outputPort;
        for (Service& service : services_) {
            if (const MIDIObjectRef own = std::exchange(service.*member, 0); own != 0) {
                service.host->disposePort(own);
            }
        }
    }

    void disposeClient(MIDIObjectRef /*client*/) override {
        for (Service& service : services_) {
            if (const MIDIObjectRef own = std::exchange(service.client, 0); own != 0) {
                service.host->disposeClient(own);
            }
        }
    }

    std::shared_ptr<const MIDISetup> setup(MIDIListing listing) override {
        bool hasChanged = !setup_;
        for (Service& service : services_) {
            std::shared_ptr<const MIDISetup> setup = service.host->setup(listing);
            hasChanged = hasChanged || setup != service.setup;
            service.setup = std::move(setup);
        }
        if (hasChanged) {
            setup_ = std::make_shared<const MIDISetup>(mergedSetup());
        }
        return setup_;
    }

    MIDIStatus connectSource(MIDIObjectRef /*port*/, MIDIObjectRef source, MIDIObjectRef connection) override {
        const Service* const service = withInput(source);
        return service != nullptr ? service->host->connectSource(service->inputPort, ownRef(source), connection)
                                  : -ENODEV;
    }

    MIDIStatus disconnectSource(MIDIObjectRef /*port*/, MIDIObjectRef source) override {
        const Service* const service = withInput(source);
        return service != nullptr ? service->host->disconnectSource(service->inputPort, ownRef(source)) : -ENODEV;
    }

    void setUsedEndpoints(std::span<const MIDIObjectRef> sources,
                          std::span<const MIDIObjectRef> destinations) override {
        const auto addOwn = [this](std::span<const MIDIObjectRef> refs, std::vector<MIDIObjectRef> Service::*used) {
            for (const MIDIObjectRef ref : refs) {
                if (const std::size_t index = serviceOf(ref); index < services_.size()) {
                    (services_[index].*used).push_back(ownRef(ref));
                }
            }
        };
        addOwn(sources, &Service::usedSources);
        addOwn(destinations, &Service::usedDestinations);
        for (Service& service : services_) {
            service.host->setUsedEndpoints(service.usedSources, service.usedDestinations);
            service.usedSources.clear();
            service.usedDestinations.clear();
        }
    }

    void send(MIDIObjectRef /*port*/, std::span<MIDISend> messages) override {
        Service& first = services_.front();
        if (first.outputPort != 0 && std::ranges::all_of(messages, [](const MIDISend& message) {
                return serviceOf(message.destination) == 0;
            })) {
            // The first service's references are the same in both forms.
            first.host->send(first.outputPort, messages);
            return;
        }
        for (std::size_t place = 0; place < messages.size(); ++place) {
            MIDISend& message = messages[place];
            const std::size_t index = serviceOf(message.destination);
            if (index >= services_.size() || services_[index].outputPort == 0) {
                message.status = -ENODEV;
                continue;
            }
            services_[index].sends.push_back({.destination = ownRef(message.destination), .bytes = message.bytes});
            services_[index].places.push_back(place);
        }
        for (Service& service : services_) {
            sendCollected(service, messages);
        }
    }

private:
    struct Service {
        std::shared_ptr<MIDIHost> host;
        // The service's own references; 0 if it has none.
        MIDIObjectRef client = 0;
        MIDIObjectRef inputPort = 0;
        MIDIObjectRef outputPort = 0;
        std::shared_ptr<const MIDISetup> setup;
        /// The messages that are being sent through it, and their indices in the engine's messages.
        std::vector<MIDISend> sends;
        std::vector<std::size_t> places;
        std::vector<MIDIObjectRef> usedSources;
        std::vector<MIDIObjectRef> usedDestinations;
    };

    static NotificationHandler translating(const NotificationHandler& handler, std::size_t service) {
        return [handler, service](MIDINotification notification) {
            notification.child = sharedRef(notification.child, service);
            notification.parent = sharedRef(notification.parent, service);
            handler(notification);
        };
    }

    /// Makes each service create an object. If none succeeds, the first failure is the result.
    template <typename Make>
    MIDICreation create(MIDIObjectRef ref, MIDIObjectRef Service::*member, const char* failureText, Make make) {
        std::vector<MIDIStatus> failures;
        bool isThere = false;
        for (std::size_t index = 0; index < services_.size(); ++index) {
            const MIDICreation creation = make(services_[index], index);
            services_[index].*member = creation.ref;
            isThere = isThere || creation.status == kMIDISuccess;
            if (creation.status != kMIDISuccess && creation.status != kNoClient) {
                failures.push_back(creation.status);
            }
        }
        if (!isThere) {
            return {.status = failures.empty() ? -ENODEV : failures.front()};
        }
        for (const MIDIStatus failure : failures) {
            diagnosticHandler_(failureText, failure);
        }
        return {.ref = ref};
    }

    /// For a service without a client: its failure has been reported with the client's, so its ports are not requested.
    static constexpr MIDIStatus kNoClient = std::numeric_limits<MIDIStatus>::min();

    template <typename Make>
    static MIDICreation createPort(const Service& service, Make make) {
        return service.client != 0 ? make() : MIDICreation{.status = kNoClient};
    }

    /// The service of a source if it has an input port; otherwise null.
    [[nodiscard]] const Service* withInput(MIDIObjectRef source) const {
        const std::size_t index = serviceOf(source);
        return index < services_.size() && services_[index].inputPort != 0 ? &services_[index] : nullptr;
    }

    static void sendCollected(Service& service, std::span<MIDISend> messages) {
        if (service.sends.empty()) {
            return;
        }
        service.host->send(service.outputPort, service.sends);
        for (std::size_t index = 0; index < service.sends.size(); ++index) {
            messages[service.places[index]].status = service.sends[index].status;
        }
        service.sends.clear();
        service.places.clear();
    }

    [[nodiscard]] MIDISetup mergedSetup() {
        MIDISetup merged;
        for (std::size_t index = 0; index < services_.size(); ++index) {
            const MIDISetup& setup = *services_[index].setup;
            append(merged.sources, setup.sources, index);
            append(merged.destinations, setup.destinations, index);
            append(merged.devices, setup.devices, index);
            append(merged.externalDevices, setup.externalDevices, index);
        }
        tellIDsApart(merged);
        return merged;
    }

    static void share(MIDIObjectRecord& record, std::size_t service) { record.ref = sharedRef(record.ref, service); }
    static void share(MIDIEndpointRecord& record, std::size_t service) {
        record.ref = sharedRef(record.ref, service);
        record.port = sharedRef(record.port, service);
    }
    static void share(MIDIDeviceRecord& record, std::size_t service) {
        record.ref = sharedRef(record.ref, service);
        for (MIDIEntityRecord& entity : record.entities) {
            entity.ref = sharedRef(entity.ref, service);
            for (std::vector<MIDIObjectRecord>* const endpoints : {&entity.sources, &entity.destinations}) {
                for (MIDIObjectRecord& endpoint : *endpoints) {
                    share(endpoint, service);
                }
            }
        }
    }

    template <typename Record>
    static void append(std::vector<Record>& all, const std::vector<Record>& own, std::size_t service) {
        all.reserve(all.size() + own.size());
        for (const Record& record : own) {
            all.push_back(record);
            share(all.back(), service);
        }
    }

    /// Endpoints of one service keep its IDs. If an endpoint's ID is in use by another service, the endpoint that was
    /// present first keeps it, so that a connection never changes to another endpoint.
    void tellIDsApart(MIDISetup& setup) {
        std::unordered_map<MIDIObjectRef, GivenID> given;
        std::unordered_map<std::int32_t, std::size_t> owners;
        const auto take = [&](MIDIEndpointRecord& record, const GivenID& entry) {
            given.insert_or_assign(record.ref, entry);
            record.uniqueID = entry.id;
        };
        const auto isFree = [&](std::int32_t id, std::size_t service) {
            return id != 0 && owners.try_emplace(id, service).first->second == service;
        };
        const auto keep = [&](MIDIEndpointRecord& record) {
            const auto known = givenIDs_.find(record.ref);
            if (record.uniqueID && known != givenIDs_.end() && known->second.wanted == *record.uniqueID) {
                owners.try_emplace(known->second.id, serviceOf(record.ref));
                take(record, known->second);
            }
        };
        const auto give = [&](MIDIEndpointRecord& record) {
            if (!record.uniqueID || *record.uniqueID == 0 || given.contains(record.ref)) {
                return;
            }
            GivenID entry{.wanted = *record.uniqueID, .id = *record.uniqueID};
            while (!isFree(entry.id, serviceOf(record.ref))) {
                entry.id = nextID(entry.id);
            }
            take(record, entry);
        };
        const auto forEach = [&setup](const auto& operation) {
            std::ranges::for_each(setup.sources, operation);
            std::ranges::for_each(setup.destinations, operation);
        };
        forEach(keep);
        for (std::size_t service = 0; service < services_.size(); ++service) {
            forEach([&](MIDIEndpointRecord& record) {
                if (serviceOf(record.ref) == service) {
                    give(record);
                }
            });
        }
        givenIDs_ = std::move(given);
    }

    struct GivenID {
        std::int32_t wanted = 0;
        std::int32_t id = 0;
    };

    std::vector<Service> services_;
    DiagnosticHandler diagnosticHandler_ = [](const std::string&, MIDIStatus) {};
    std::shared_ptr<const MIDISetup> setup_;
    /// By the engine's reference.
    std::unordered_map<MIDIObjectRef, GivenID> givenIDs_;
};

}  // namespace

std::shared_ptr<MIDIHost> makeCompositeMIDIHost(std::vector<std::shared_ptr<MIDIHost>> services) {
    return std::make_shared<CompositeMIDIHost>(std::move(services));
}

}  // namespace corvel::hosts
