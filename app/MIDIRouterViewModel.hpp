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

/// The application: everything that a window shows and every command of the user.
///
/// Holds the connection sets, of which one is current and is what the engine routes; follows the endpoints,
/// and finds the endpoints of stored connections again when their IDs have changed. Every change is saved at
/// once. A command reports its outcome in `statusMessage()` alone; one that names an unknown connection,
/// assignment or set does nothing.
///
/// Main thread only, the delegate's callbacks excepted: those may come on any thread and take effect on the
/// main thread, in the order in which they came.
///
/// Observation. `observe` tells of each change of a property just before it happens, and also when the new
/// value equals the old. What an observer reads during the call is the old value, and other properties may be
/// halfway through the same command. So an observer calls no command and keeps no conclusion from what it
/// reads there: it marks itself and reads once the main loop comes round again. References returned by the
/// properties stay good as long as the model; elements of the lists only until the next command or callback.
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

    /// Events, oldest first. A full list gives up its oldest event for a new one without moving the others.
    using ActivityEvents = boost::circular_buffer<MIDIActivityEvent>;
    using DiagnosticEvents = boost::circular_buffer<MIDIDiagnosticEvent>;

    static constexpr std::size_t kActivityLimit = 200;
    static constexpr std::size_t kGraphActivityLimit = 512;
    /// Graph events older than this go when new ones arrive.
    static constexpr std::chrono::seconds kGraphActivityRetention{3};
    static constexpr std::size_t kDiagnosticLimit = 80;

    /// The setting that holds the appearance mode's raw value.
    static constexpr std::string_view kAppearanceModeKey = "Corvel.appearanceMode";
    /// The setting that holds whether held notes are released: "true" or anything else.
    static constexpr std::string_view kReleasesHeldNotesKey = "Corvel.releasesHeldNotes";

    /// Makes the model: loads the document and becomes the engine's delegate. Neither starts the engine nor
    /// saves.
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

    /// Has `observer` called before every change of a property until the result is destroyed.
    [[nodiscard]] Observation observe(Observers<Property>::Observer observer);

    /// Have `observer` called for each single event, after the model has taken it in: the model's lists hold only the
    /// newest. Failures are the engine's, and those to save where the one before was saved or failed for another
    /// reason.
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
    /// What the graph animates, for all connections together: reading it once costs less than `graphActivities` for
    /// each.
    [[nodiscard]] const ActivityEvents& graphActivityEvents() const { return graphActivityEvents_.value(); }
    /// The diagnostic log's newest entries.
    [[nodiscard]] const DiagnosticEvents& diagnosticEvents() const { return diagnosticEvents_.value(); }
    [[nodiscard]] AppAppearanceMode appearanceMode() const { return appearanceMode_.value(); }
    /// The user's selections; what they name need not exist any more.
    [[nodiscard]] const std::optional<std::int32_t>& selectedSourceID() const { return selectedSourceID_.value(); }
    [[nodiscard]] const std::optional<std::int32_t>& selectedDestinationID() const {
        return selectedDestinationID_.value();
    }
    [[nodiscard]] const std::optional<UUID>& selectedRouteID() const { return selectedRouteID_.value(); }
    /// One line on the last thing that happened.
    [[nodiscard]] const std::string& statusMessage() const { return statusMessage_.value(); }

    /// Why the document on disk is not the one in memory: the text of the last save if it failed. Not
    /// observable; it outlasts the status line, in which a command's own text may replace it.
    [[nodiscard]] const std::optional<std::string>& saveFailure() const { return saveFailure_; }

    /// The user's own names for endpoints. A new one counts as a change of the endpoints.
    [[nodiscard]] const EndpointAliases& endpointAliases() const { return endpointAliases_; }

    // Engine, devices and appearance (MIDIRouterViewModel.cpp)

    /// Hands the engine the connections, starts it and takes in the first endpoints. Acts once only.
    void startIfNeeded();

    /// Has the engine list the MIDI devices afresh; the result arrives later.
    void refreshDevices();

    /// Takes in the engine's endpoints, re-binds connections to them and says how many there are. Waits for
    /// the engine's queue. Works without a started engine.
    void applyEndpointSnapshot();

    /// Changes the appearance and stores it; the current one again stores nothing.
    void setAppearanceMode(AppAppearanceMode mode);

    /// Whether held notes are released when their connection changes; changes that and stores it.
    [[nodiscard]] bool releasesHeldNotes() const { return releasesHeldNotes_; }
    void setReleasesHeldNotes(bool releases);

    /// Silences every output of the current set, connections that are paused included. Calls `onDone`, if there is one,
    /// once everything is sent, some 50 ms later.
    void allNotesOff(std::function<void()> onDone = {});

    /// The endpoints that have sent or been sent messages since the last call, connected or not.
    [[nodiscard]] ActiveEndpoints takeEndpointsWithTraffic() { return engine_->takeTraffic(); }

    /// Gives an endpoint a name of the user's own; a blank one takes it away. The document and re-binding keep to the
    /// system's name.
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

    /// Adds a copy of the current set, under fresh IDs throughout, and selects it. A blank name becomes the
    /// current one's with " Copy".
    void duplicateSelectedRouteSet(std::string_view name);

    /// Renames the current set. A blank name keeps the old one.
    void renameSelectedRouteSet(std::string_view name);

    /// Removes the current set and selects the one that takes its place, or the last. The only set stays.
    void deleteSelectedRouteSet();

    /// `base`, or if a set is already called so, `base` with " 2", " 3" and so on, the first that is free.
    /// The set `excluding` does not count. Names are compared byte by byte.
    [[nodiscard]] std::string uniqueRouteSetName(std::string_view base,
                                                 const std::optional<UUID>& excluding = std::nullopt) const;

    /// The current set's name.
    [[nodiscard]] std::string selectedRouteSetName() const;

    // Connections and their channel assignments (MIDIRouterViewModelConnections.cpp)

    /// Connects an input to an output, as it is, and selects both and the connection.
    void connect(std::int32_t sourceID, std::int32_t destinationID);

    /// Deletes the selected connection and selects the first of those that remain.
    void deleteSelectedRoute();

    /// Switches a connection on or off.
    void setRouteEnabled(const UUID& routeID, bool isEnabled);

    /// Makes an assignment its connection's active one and selects the connection.
    void setActiveVariant(const UUID& variantID, const UUID& routeID);

    /// Adds an assignment and makes it the active one. The connection's other assignments lose the shortcut.
    void addChannelAssignment(const UUID& routeID, ChannelMode channelMode,
                              std::optional<KeyboardShortcutSpec> shortcut);

    /// Changes mode and shortcut of the active assignment, which is named after its mode again. The
    /// connection's other assignments lose the shortcut.
    void updateActiveChannelAssignment(const UUID& routeID, ChannelMode channelMode,
                                       std::optional<KeyboardShortcutSpec> shortcut);

    /// Deletes the active assignment and activates the first of those that remain. The only one stays.
    void deleteActiveVariant(const UUID& routeID);

    /// The mode to propose for a new assignment: the connection's forced channel or the next free one above
    /// it, else the lowest free channel, else as it is.
    [[nodiscard]] static ChannelMode suggestedVariantChannelMode(const MIDIRoute& route);

    /// Activates the assignment that the shortcut belongs to: one of the selected connection's before all
    /// others. False if there is none, so that the key press means something else.
    [[nodiscard]] bool handleShortcut(const KeyboardShortcutSpec& spec);

    // Undo and redo (MIDIRouterViewModelHistory.cpp)

    /// Takes back the newest edit of the document, or makes one again that was taken back. What the performer has done
    /// since stays: the current set and the active assignments are no edits, and change only where the edit itself had
    /// changed them last. Does nothing where there is nothing to undo or redo.
    void undo();
    void redo();

    /// What would be undone or redone next, as a menu names it. Changes with the sets and the connections.
    [[nodiscard]] std::optional<std::string> undoName() const { return history_.undoName(); }
    [[nodiscard]] std::optional<std::string> redoName() const { return history_.redoName(); }

    /// Whether the status line tells of a deletion that `undo()` would take back.
    [[nodiscard]] bool offersUndo() const { return undoOffer_ == statusMessage(); }

    // Presentation (MIDIRouterViewModelPresentation.cpp)

    /// The connections of the current set through which messages come back to where they started, at once and without
    /// end.
    [[nodiscard]] std::unordered_set<UUID> feedbackRouteIDs() const;

    /// Whether a connection can carry MIDI. A missing endpoint counts before the connection's own switch.
    [[nodiscard]] RouteAvailability routeAvailability(const MIDIRoute& route) const;

    /// A connection in full, one fact a line.
    [[nodiscard]] std::string routeDetailText(const MIDIRoute& route) const;

    /// An assignment in full, one fact a line.
    [[nodiscard]] std::string variantDetailText(const MIDIRouteVariant& variant) const;

    /// The connection's newest routed message. Valid until the next routed message.
    [[nodiscard]] const MIDIActivityEvent* recentActivity(const UUID& routeID) const;

    /// Kind and first bytes of the connection's newest message, or "No MIDI yet".
    [[nodiscard]] std::string lastEventDescription(const UUID& routeID) const;

    /// What the graph animates for a connection, oldest first.
    [[nodiscard]] std::vector<MIDIActivityEvent> graphActivities(const UUID& routeID) const;

    /// The connection of the current set with this ID, or null. Valid until the next command or callback.
    [[nodiscard]] const MIDIRoute* route(const UUID& routeID) const;

    /// The name of the first of `endpoints` with this ID, else `fallback`, else "Missing Endpoint".
    [[nodiscard]] static std::string endpointName(std::int32_t id, const std::vector<MIDIEndpointModel>& endpoints,
                                                  const std::optional<std::string>& fallback);

private:
    template <typename Value>
    using PublishedProperty = Published<Value, Property>;

    /// Runs a handler now if this is the main thread and no earlier report waits for it, otherwise posts it
    /// there.
    template <typename... Arguments>
    void handleOnMain(void (MIDIRouterViewModel::*handler)(const Arguments&...), const Arguments&... arguments);
    void recordRoutedMessage(const MIDIActivityEvent& event);
    void recordFailure(const std::string& message);
    void recordDiagnostic(const MIDIDiagnosticEvent& event);
    /// An entry of the model's own, as of now.
    void addDiagnostic(std::string message);

    [[nodiscard]] EndpointList sortedByName(std::vector<MIDIEndpointModel> endpoints) const;
    void removeGraphActivityForHiddenRoutes();
    void removeGraphActivity(const UUID& routeID);
    /// Drops the events that are too old, then adds these, dropping the oldest beyond the limit.
    void appendGraphActivity(std::vector<MIDIActivityEvent> events);

    /// Saves `routes` in the current set and hands them to the engine, in memory and in the engine even if
    /// the disk refuses.
    void persistRoutes(bool updateStatus);
    void syncSelectedRouteSetRoutes();
    void saveRouteSetDocument(std::optional<std::string> statusMessage);
    void recordSaveFailure(std::string message);
    /// Shows the text of a command that was carried out, and if its save found another file in the document's place,
    /// what that file is called now.
    void showOutcome(std::string message);

    /// Puts a set's ID and connections in the place of the current ones and hands them to the engine.
    void showRouteSet(const UUID& id, std::vector<MIDIRoute> routes);
    [[nodiscard]] std::optional<std::size_t> selectedRouteSetIndex() const;

    [[nodiscard]] std::optional<std::size_t> routeIndex(const UUID& routeID) const;
    void finishAssignmentCommand(const UUID& routeID, std::string statusMessage);

    // Edits (MIDIRouterViewModelHistory.cpp). An edit is made before the change, and recorded after it if anything is
    // different then.
    [[nodiscard]] DocumentEdit connectionEdit(std::string name, const UUID& routeID) const;
    void recordConnectionEdit(DocumentEdit edit);
    [[nodiscard]] DocumentEdit routeSetEdit(std::string name, const UUID& setID) const;
    void recordRouteSetEdit(DocumentEdit edit);
    void record(DocumentEdit edit);
    [[nodiscard]] RouteSetChange routeSetChange(const UUID& setID, const UUID& selectedSetID) const;
    /// Has the status line, which tells of a deletion now, offer to undo it.
    void offerUndo();
    /// Gives the opposite; no value if the edit has no place any more.
    [[nodiscard]] std::optional<DocumentEdit> carryOut(DocumentEdit edit, std::string message);
    [[nodiscard]] bool exchange(ConnectionChange& change, const UUID& setID);
    [[nodiscard]] bool exchange(RouteSetChange& change, const UUID& setID);
    [[nodiscard]] bool exchange(RouteSetNameChange& change, const UUID& setID);

    /// Says so in the status line if messages of this connection come back.
    void warnOfFeedback(const UUID& routeID);

    /// Points stored connections at the endpoints that are there now (MIDIRouterViewModelRebinding.cpp).
    void reconcileRoutesWithCurrentEndpoints();

    const std::shared_ptr<CoreMIDIRouterEngine> engine_;
    const std::shared_ptr<RouteStore> routeStore_;
    const std::shared_ptr<Settings> settings_;
    const std::shared_ptr<const Clock> clock_;
    const std::shared_ptr<DispatchQueue> mainQueue_;
    EndpointAliases endpointAliases_;
    const Collator collator_ = Collator::forUser();
    bool didStart_ = false;
    bool releasesHeldNotes_ = false;
    EditHistory history_;
    /// The status line that offers to undo.
    std::optional<std::string> undoOffer_;
    std::optional<std::string> saveFailure_;
    /// The name of the copy that the newest texts mention: the last save's, or that of an earlier save without a text.
    std::optional<std::string> keptCopy_;
    bool isKeptCopyShown_ = false;
    /// Reports that were posted and have not run yet.
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
