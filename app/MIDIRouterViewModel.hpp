#pragma once

#include "app/AppAppearanceMode.hpp"
#include "app/DocumentEdit.hpp"
#include "app/EditHistory.hpp"
#include "app/EndpointAliases.hpp"
#include "app/EndpointList.hpp"
#include "app/Observers.hpp"
#include "app/Published.hpp"
#include "app/RouteAvailability.hpp"
#include "app/Settings.hpp"
#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "core/engine/MIDIActivityEvent.hpp"
#include "core/engine/MIDIDiagnosticEvent.hpp"
#include "core/engine/MIDIEndpointModel.hpp"
#include "core/engine/MIDIRouterEngineDelegate.hpp"
#include "core/routes/ChannelMode.hpp"
#include "core/routes/KeyboardShortcutSpec.hpp"
#include "core/routes/MIDIRoute.hpp"
#include "core/routes/MIDIRouteSet.hpp"
#include "core/storage/RouteStore.hpp"
#include "core/support/Clock.hpp"
#include "core/support/Collator.hpp"
#include "core/support/DispatchQueue.hpp"
#include "core/support/UUID.hpp"

#include <boost/circular_buffer.hpp>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace corvel {

/// The application: everything that a window shows, and every command of the user.
///
/// Holds the connection sets and the current set, which the engine routes. Follows the endpoints, and finds those of
/// stored connections again if their IDs have changed. Saves every change at once. A command reports its outcome only
/// in `statusMessage()`; with an unknown connection, assignment or set it does nothing.
///
/// Main thread only. The delegate's callbacks may come on any thread and take effect on the main thread, in their
/// order.
///
/// Observation: `observe` calls the observer just before each change of a property, even if the new value equals the
/// old. During the call an observer reads the old value, and other properties may be in the middle of the same command.
/// So an observer calls no command and uses no values that it reads there: it marks itself dirty and reads on the next
/// turn of the main loop. References returned by the properties are valid as long as the model, references to elements
/// of the lists only until the next command or callback.
class MIDIRouterViewModel final : public MIDIRouterEngineDelegate,
                                  public std::enable_shared_from_this<MIDIRouterViewModel> {
    struct Private {
        explicit Private() = default;
    };

public:
    /// The observable properties.
    enum class Property : std::uint8_t {
        sources,
        destinations,
        routeSets,
        selectedRouteSetID,
        routes,
        activityEvents,
        graphActivityEvents,
        diagnosticEvents,
        appearanceMode,
        selectedSourceID,
        selectedDestinationID,
        selectedRouteID,
        statusMessage,
    };

    /// Events, oldest first. If the list is full, a new event replaces the oldest without moving the others.
    using ActivityEvents = boost::circular_buffer<MIDIActivityEvent>;
    using DiagnosticEvents = boost::circular_buffer<MIDIDiagnosticEvent>;

    static constexpr std::size_t kActivityLimit = 200;
    static constexpr std::size_t kGraphActivityLimit = 512;
    /// Graph events that are older than this are removed when new ones arrive.
    static constexpr std::chrono::seconds kGraphActivityRetention{3};
    static constexpr std::size_t kDiagnosticLimit = 80;

    /// The setting that holds the appearance mode's raw value.
    static constexpr std::string_view kAppearanceModeKey = "Corvel.appearanceMode";
    /// The setting for the release of held notes: "true", anything else means false.
    static constexpr std::string_view kReleasesHeldNotesKey = "Corvel.releasesHeldNotes";

    /// Creates the model, loads the document and becomes the engine's delegate. Neither starts the engine nor saves.
    [[nodiscard]] static std::shared_ptr<MIDIRouterViewModel> create(std::shared_ptr<CoreMIDIRouterEngine> engine,
                                                                     std::shared_ptr<RouteStore> routeStore,
                                                                     std::shared_ptr<Settings> settings,
                                                                     std::shared_ptr<const Clock> clock,
                                                                     std::shared_ptr<DispatchQueue> mainQueue);

    MIDIRouterViewModel(Private, std::shared_ptr<CoreMIDIRouterEngine> engine, std::shared_ptr<RouteStore> routeStore,
                        std::shared_ptr<Settings> settings, std::shared_ptr<const Clock> clock,
                        std::shared_ptr<DispatchQueue> mainQueue);
    MIDIRouterViewModel(const MIDIRouterViewModel&) = delete;
    MIDIRouterViewModel& operator=(const MIDIRouterViewModel&) = delete;
    MIDIRouterViewModel(MIDIRouterViewModel&&) = delete;
    MIDIRouterViewModel& operator=(MIDIRouterViewModel&&) = delete;
    ~MIDIRouterViewModel() override = default;

    using ActivityObservers = Observers<const MIDIActivityEvent&>;
    using FailureObservers = Observers<const std::string&>;
    using DiagnosticObservers = Observers<const MIDIDiagnosticEvent&>;

    /// Calls `observer` before every change of a property until the result is destroyed.
    [[nodiscard]] Observation observe(Observers<Property>::Observer observer);

    /// Call `observer` for each event, after the model has stored it: the model's lists hold only the newest ones.
    /// Failures are those of the engine, and failed saves unless the previous save failed for the same reason.
    [[nodiscard]] Observation observeActivity(ActivityObservers::Observer observer);
    [[nodiscard]] Observation observeFailures(FailureObservers::Observer observer);
    [[nodiscard]] Observation observeDiagnostics(DiagnosticObservers::Observer observer);

    // State

    /// The inputs and outputs, sorted by name in the user's language.
    [[nodiscard]] const std::vector<MIDIEndpointModel>& sources() const { return sources_.value().endpoints(); }
    [[nodiscard]] const std::vector<MIDIEndpointModel>& destinations() const {
        return destinations_.value().endpoints();
    }
    /// All connection sets in the user's order; never empty.
    [[nodiscard]] const std::vector<MIDIRouteSet>& routeSets() const { return routeSets_.value(); }
    /// The current set, always one of `routeSets()`.
    [[nodiscard]] const UUID& selectedRouteSetID() const { return selectedRouteSetID_.value(); }
    /// The current set's connections.
    [[nodiscard]] const std::vector<MIDIRoute>& routes() const { return routes_.value(); }
    /// The newest routed messages.
    [[nodiscard]] const ActivityEvents& activityEvents() const { return activityEvents_.value(); }
    /// What the graph animates, for all connections: reading it once costs less than `graphActivities` for each.
    [[nodiscard]] const ActivityEvents& graphActivityEvents() const { return graphActivityEvents_.value(); }
    /// The diagnostic log's newest entries.
    [[nodiscard]] const DiagnosticEvents& diagnosticEvents() const { return diagnosticEvents_.value(); }
    [[nodiscard]] AppAppearanceMode appearanceMode() const { return appearanceMode_.value(); }
    /// The user's selections. The selected objects may no longer exist.
    [[nodiscard]] const std::optional<std::int32_t>& selectedSourceID() const { return selectedSourceID_.value(); }
    [[nodiscard]] const std::optional<std::int32_t>& selectedDestinationID() const {
        return selectedDestinationID_.value();
    }
    [[nodiscard]] const std::optional<UUID>& selectedRouteID() const { return selectedRouteID_.value(); }
    /// One line about the last event.
    [[nodiscard]] const std::string& statusMessage() const { return statusMessage_.value(); }

    /// Why the last save failed; no value if it succeeded. After a failure, the document on disk differs from the one
    /// in memory. Not observable. Later commands replace the status line, but not this text.
    [[nodiscard]] const std::optional<std::string>& saveFailure() const { return saveFailure_; }

    /// The user's own names for endpoints. Changing one counts as a change of the endpoints.
    [[nodiscard]] const EndpointAliases& endpointAliases() const { return endpointAliases_; }

    // Engine, devices and appearance (MIDIRouterViewModel.cpp)

    /// Passes the connections to the engine, starts it and loads the first endpoints. Acts only once.
    void startIfNeeded();

    /// Makes the engine refresh the MIDI devices; the result arrives later.
    void refreshDevices();

    /// Loads the engine's endpoints, re-binds connections to them and shows their number in the status line. Waits for
    /// the engine's queue. Works without a started engine.
    void applyEndpointSnapshot();

    /// Changes the appearance and stores it. Stores nothing if it is the current one.
    void setAppearanceMode(AppAppearanceMode mode);

    /// Whether held notes are released when their connection changes. The setter stores it.
    [[nodiscard]] bool releasesHeldNotes() const { return releasesHeldNotes_; }
    void setReleasesHeldNotes(bool releases);

    /// Silences every output of the current set, also those of paused connections. Calls `onDone`, if given, after the
    /// last message, about 50 ms later.
    void allNotesOff(std::function<void()> onDone = {});

    /// The endpoints that have sent or received messages since the last call, connected or not.
    [[nodiscard]] ActiveEndpoints takeEndpointsWithTraffic() { return engine_->takeTraffic(); }

    /// Gives an endpoint the user's own name; a blank one removes it. The document and re-binding use the system's
    /// name.
    void setEndpointAlias(MIDIEndpointDirection direction, std::int32_t endpointID, std::string_view alias);

    void setSelectedSourceID(std::optional<std::int32_t> id);
    void setSelectedDestinationID(std::optional<std::int32_t> id);
    void setSelectedRouteID(std::optional<UUID> id);

    void midiRouterEngineDidChangeEndpoints(CoreMIDIRouterEngine& engine) override;
    void midiRouterEngineDidRoute(CoreMIDIRouterEngine& engine, const MIDIActivityEvent& event) override;
    void midiRouterEngineDidFail(CoreMIDIRouterEngine& engine, const std::string& message) override;
    void midiRouterEngineDidLog(CoreMIDIRouterEngine& engine, const MIDIDiagnosticEvent& event) override;

    // Connection sets (MIDIRouterViewModelSets.cpp)

    /// Makes another set the current one.
    void selectRouteSet(const UUID& id);

    /// Adds an empty set and selects it. A blank name becomes "New Set".
    void createRouteSet(std::string_view name);

    /// Adds a copy of the current set with new IDs throughout, and selects it. A blank name becomes the current set's
    /// name with " Copy".
    void duplicateSelectedRouteSet(std::string_view name);

    /// Renames the current set. A blank name keeps the old one.
    void renameSelectedRouteSet(std::string_view name);

    /// Deletes the current set and selects the next one, or the last. The only set is not deleted.
    void deleteSelectedRouteSet();

    /// `base`, or if a set has this name, `base` with " 2", " 3" and so on, the first that is free. The set `excluding`
    /// is ignored. Names are compared byte by byte.
    [[nodiscard]] std::string uniqueRouteSetName(std::string_view base,
                                                 const std::optional<UUID>& excluding = std::nullopt) const;

    /// The current set's name.
    [[nodiscard]] std::string selectedRouteSetName() const;

    // Connections and their channel assignments (MIDIRouterViewModelConnections.cpp)

    /// Connects an input to an output with mode "As Is", and selects both and the connection.
    void connect(std::int32_t sourceID, std::int32_t destinationID);

    /// Deletes the selected connection and selects the first remaining one.
    void deleteSelectedRoute();

    /// Switches a connection on or off.
    void setRouteEnabled(const UUID& routeID, bool isEnabled);

    /// Makes an assignment the active one of its connection and selects the connection.
    void setActiveVariant(const UUID& variantID, const UUID& routeID);

    /// Adds an assignment and makes it active. The shortcut is removed from the connection's other assignments.
    void addChannelAssignment(const UUID& routeID, ChannelMode channelMode,
                              std::optional<KeyboardShortcutSpec> shortcut);

    /// Changes mode and shortcut of the active assignment and renames it after its mode. The shortcut is removed from
    /// the connection's other assignments.
    void updateActiveChannelAssignment(const UUID& routeID, ChannelMode channelMode,
                                       std::optional<KeyboardShortcutSpec> shortcut);

    /// Deletes the active assignment and activates the first remaining one. The only assignment is not deleted.
    void deleteActiveVariant(const UUID& routeID);

    /// The mode to propose for a new assignment: the connection's forced channel or the next free one above it,
    /// otherwise the lowest free channel, otherwise "As Is".
    [[nodiscard]] static ChannelMode suggestedVariantChannelMode(const MIDIRoute& route);

    /// Activates the assignment that has the shortcut, in the selected connection if it has one. If several others have
    /// it, asks for a selection. Returns false if none has it, so that the key press keeps its other meaning.
    [[nodiscard]] bool handleShortcut(const KeyboardShortcutSpec& spec);

    // Undo and redo (MIDIRouterViewModelHistory.cpp)

    /// Takes back the newest edit of the document, or repeats one that was taken back. Restores the current set or an
    /// active assignment only if the edit changed it and the user has not switched since. Does nothing if there is
    /// nothing to undo or redo.
    void undo();
    void redo();

    /// The names in the menu of the edits that would be undone or redone next. They change with the sets and the
    /// connections.
    [[nodiscard]] std::optional<std::string> undoName() const { return history_.undoName(); }
    [[nodiscard]] std::optional<std::string> redoName() const { return history_.redoName(); }

    /// Whether the status line shows a deletion that `undo()` would take back.
    [[nodiscard]] bool offersUndo() const { return undoOffer_ == statusMessage(); }

    // Presentation (MIDIRouterViewModelPresentation.cpp)

    /// The connections of the current set that return messages to where they started, without end.
    [[nodiscard]] std::unordered_set<UUID> feedbackRouteIDs() const;

    /// Whether a connection can carry MIDI. A missing endpoint takes precedence over the pause.
    [[nodiscard]] RouteAvailability routeAvailability(const MIDIRoute& route) const;

    /// All details of a connection, one on each line.
    [[nodiscard]] std::string routeDetailText(const MIDIRoute& route) const;

    /// All details of an assignment, one on each line.
    [[nodiscard]] std::string variantDetailText(const MIDIRouteVariant& variant) const;

    /// The connection's newest routed message. Valid until the next routed message.
    [[nodiscard]] const MIDIActivityEvent* recentActivity(const UUID& routeID) const;

    /// Kind and first bytes of the connection's newest message, or "No MIDI yet".
    [[nodiscard]] std::string lastEventDescription(const UUID& routeID) const;

    /// What the graph animates for a connection, oldest first.
    [[nodiscard]] std::vector<MIDIActivityEvent> graphActivities(const UUID& routeID) const;

    /// The connection of the current set with this ID, or null. Valid until the next command or callback.
    [[nodiscard]] const MIDIRoute* route(const UUID& routeID) const;

    /// The name of the first of `endpoints` with this ID, otherwise `fallback`, otherwise "Missing Endpoint".
    [[nodiscard]] static std::string endpointName(std::int32_t id, const std::vector<MIDIEndpointModel>& endpoints,
                                                  const std::optional<std::string>& fallback);

private:
    template <typename Value>
    using PublishedProperty = Published<Value, Property>;

    /// Runs a handler now if this is the main thread and no earlier report is waiting, otherwise posts it there.
    template <typename... Arguments>
    void handleOnMain(void (MIDIRouterViewModel::*handler)(const Arguments&...), const Arguments&... arguments);
    void recordRoutedMessage(const MIDIActivityEvent& event);
    void recordFailure(const std::string& message);
    void recordDiagnostic(const MIDIDiagnosticEvent& event);
    /// Adds an entry of the model itself, with the current time.
    void addDiagnostic(std::string message);

    [[nodiscard]] EndpointList sortedByName(std::vector<MIDIEndpointModel> endpoints) const;
    void removeGraphActivityForHiddenRoutes();
    void removeGraphActivity(const UUID& routeID);
    /// Removes events that are too old, adds these, and removes the oldest beyond the limit.
    void appendGraphActivity(std::vector<MIDIActivityEvent> events);

    /// Stores `routes` in the current set, passes them to the engine and saves. If saving fails, they still count in
    /// memory and in the engine.
    void persistRoutes();
    void syncSelectedRouteSetRoutes();
    void saveRouteSetDocument(std::optional<std::string> statusMessage);
    void recordSaveFailure(std::string message);
    /// Shows the text of a completed command. If its save has kept another file, adds the name of the copy.
    void showOutcome(std::string message);

    /// Replaces the current set's ID and connections by these and passes the connections to the engine.
    void showRouteSet(const UUID& id, std::vector<MIDIRoute> routes);
    [[nodiscard]] std::optional<std::size_t> selectedRouteSetIndex() const;

    [[nodiscard]] std::optional<std::size_t> routeIndex(const UUID& routeID) const;
    void finishAssignmentCommand(const UUID& routeID, std::string statusMessage);

    // Edits (MIDIRouterViewModelHistory.cpp). Create an edit before the change, and record it afterwards. An edit
    // that has changed nothing is not recorded.
    [[nodiscard]] DocumentEdit connectionEdit(std::string name, const UUID& routeID) const;
    void recordConnectionEdit(DocumentEdit edit);
    [[nodiscard]] DocumentEdit routeSetEdit(std::string name, const UUID& setID) const;
    void recordRouteSetEdit(DocumentEdit edit);
    void record(DocumentEdit edit);
    [[nodiscard]] RouteSetChange routeSetChange(const UUID& setID, const UUID& selectedSetID) const;
    /// Makes the status line, which now shows a deletion, offer to undo it.
    void offerUndo();
    /// Returns the opposite edit; no value if the edit no longer applies.
    [[nodiscard]] std::optional<DocumentEdit> carryOut(DocumentEdit edit, std::string message);
    [[nodiscard]] bool exchange(ConnectionChange& change, const UUID& setID);
    [[nodiscard]] bool exchange(RouteSetChange& change, const UUID& setID);
    [[nodiscard]] bool exchange(RouteSetNameChange& change, const UUID& setID);

    /// Shows in the status line if this connection feeds back.
    void warnOfFeedback(const UUID& routeID);

    /// Re-binds stored connections to the present endpoints (MIDIRouterViewModelRebinding.cpp).
    void reconcileRoutesWithCurrentEndpoints();

    const std::shared_ptr<CoreMIDIRouterEngine> engine_;
    const std::shared_ptr<RouteStore> routeStore_;
    const std::shared_ptr<Settings> settings_;
    const std::shared_ptr<const Clock> clock_;
    const std::shared_ptr<DispatchQueue> mainQueue_;
    EndpointAliases endpointAliases_;
    const Collator collator_ = Collator::forUser();
    bool didStart_ = false;
    bool releasesHeldNotes_;
    EditHistory history_;
    /// The status line that offers to undo.
    std::optional<std::string> undoOffer_;
    std::optional<std::string> saveFailure_;
    /// The name of the copy that a save has kept. Status lines mention it until the save after its first mention.
    std::optional<std::string> keptCopy_;
    bool isKeptCopyShown_ = false;
    /// The number of reports that were posted and have not run yet.
    std::atomic<std::size_t> postedReports_ = 0;

    ActivityObservers activityObservers_;
    FailureObservers failureObservers_;
    DiagnosticObservers diagnosticObservers_;
    Observers<Property> observers_;
    PublishedProperty<EndpointList> sources_{observers_, Property::sources, {}};
    PublishedProperty<EndpointList> destinations_{observers_, Property::destinations, {}};
    PublishedProperty<std::vector<MIDIRouteSet>> routeSets_{observers_, Property::routeSets, {}};
    PublishedProperty<UUID> selectedRouteSetID_{observers_, Property::selectedRouteSetID, {}};
    PublishedProperty<std::vector<MIDIRoute>> routes_{observers_, Property::routes, {}};
    PublishedProperty<ActivityEvents> activityEvents_{observers_, Property::activityEvents,
                                                      ActivityEvents(kActivityLimit)};
    PublishedProperty<ActivityEvents> graphActivityEvents_{observers_, Property::graphActivityEvents,
                                                           ActivityEvents(kGraphActivityLimit)};
    PublishedProperty<DiagnosticEvents> diagnosticEvents_{observers_, Property::diagnosticEvents,
                                                          DiagnosticEvents(kDiagnosticLimit)};
    PublishedProperty<AppAppearanceMode> appearanceMode_{observers_, Property::appearanceMode, AppAppearanceMode::dark};
    PublishedProperty<std::optional<std::int32_t>> selectedSourceID_{observers_, Property::selectedSourceID, {}};
    PublishedProperty<std::optional<std::int32_t>> selectedDestinationID_{
        observers_, Property::selectedDestinationID, {}};
    PublishedProperty<std::optional<UUID>> selectedRouteID_{observers_, Property::selectedRouteID, {}};
    PublishedProperty<std::string> statusMessage_{observers_, Property::statusMessage, "Ready"};
};

}  // namespace corvel
