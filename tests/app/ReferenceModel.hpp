#pragma once

#include "core/engine/MIDIActivityEvent.hpp"
#include "core/engine/MIDIEndpointModel.hpp"
#include "core/routes/MIDIRouteSetDocument.hpp"
#include "core/support/Clock.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {

/// What the application model has to do, told once more in the plainest way, for tests that compare the two after
/// random commands. Everything is looked up by walking the lists, and nothing is shared with the model but the
/// records themselves; a connection's own operations are not used either.
///
/// New things get IDs of their own here, which `adoptIDs` then replaces by those that the model chose.
class ReferenceModel {
public:
    explicit ReferenceModel(MIDIRouteSetDocument document);

    // State
    std::vector<MIDIRouteSet> sets;
    UUID currentSet;
    std::vector<MIDIRoute> routes;
    std::vector<MIDIEndpointModel> sources;
    std::vector<MIDIEndpointModel> destinations;
    std::optional<std::int32_t> selectedSource;
    std::optional<std::int32_t> selectedDestination;
    std::optional<UUID> selectedRoute;
    std::string status = "Ready";
    std::vector<MIDIActivityEvent> graph;
    /// How often the document was saved.
    std::size_t saves = 0;

    /// Takes over the IDs of what is new; false if the two differ in shape, or a new ID is not new.
    [[nodiscard]] bool adoptIDs(const std::vector<MIDIRouteSet>& modelSets);

    void snapshot(std::vector<MIDIEndpointModel> newSources, std::vector<MIDIEndpointModel> newDestinations);
    /// A routed message of one note.
    void hear(const MIDIActivityEvent& event, Instant now);

    // Connection sets (ReferenceModel.cpp)
    void selectSet(const UUID& id);
    void createSet(const std::string& name);
    void duplicateSet(const std::string& name);
    void renameSet(const std::string& name);
    void deleteSet();

    // Connections (ReferenceModelConnections.cpp)
    void connect(std::int32_t sourceID, std::int32_t destinationID);
    void deleteSelectedRoute();
    void enable(const UUID& id, bool isEnabled);
    void activate(const UUID& variantID, const UUID& routeID);
    void add(const UUID& id, ChannelMode mode, const std::optional<KeyboardShortcutSpec>& shortcut);
    void update(const UUID& id, ChannelMode mode, const std::optional<KeyboardShortcutSpec>& shortcut);
    void deleteActive(const UUID& id);
    [[nodiscard]] bool press(const KeyboardShortcutSpec& shortcut);

private:
    [[nodiscard]] UUID fresh();
    [[nodiscard]] MIDIRouteSet* current();
    [[nodiscard]] MIDIRoute* find(const UUID& id);
    [[nodiscard]] std::string freeSetName(const std::string& base, const MIDIRouteSet* except) const;
    [[nodiscard]] std::string currentName();
    void persist();
    void rebind();
    void prune();
    void forgetGraph(const UUID& id);
    [[nodiscard]] static std::string freeName(const std::string& base, const std::vector<std::string>& taken);
    [[nodiscard]] static MIDIRouteVariant* activeOf(MIDIRoute& route);
    static void mirror(MIDIRoute& route);
    [[nodiscard]] static const MIDIEndpointModel* withID(const std::vector<MIDIEndpointModel>& endpoints,
                                                         std::int32_t id);
    /// The endpoint that a stored ID and stored labels mean, if there is exactly one.
    [[nodiscard]] static const MIDIEndpointModel* meant(const std::vector<MIDIEndpointModel>& endpoints,
                                                        std::int32_t id, const std::optional<std::string>& name,
                                                        const std::optional<std::string>& maker);
    void show(const MIDIRouteSet& set);

    std::vector<UUID> freshIDs_;
    std::vector<UUID> knownIDs_;
};

}  // namespace corvel::tests
