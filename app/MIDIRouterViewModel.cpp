#include "app/MIDIRouterViewModel.hpp"

#include "core/messages/MIDIMessageFragment.hpp"
#include "core/messages/MIDIMessageKind.hpp"
#include "core/messages/MIDIMessageParser.hpp"
#include "core/routes/MIDIRouteSetDocument.hpp"
#include "core/support/Text.hpp"

#include <algorithm>
#include <exception>
#include <unordered_set>
#include <utility>

namespace corvel {

namespace {

using ActivityEvents = MIDIRouterViewModel::ActivityEvents;

/// Dark, as a stage needs it, if no valid mode is stored.
AppAppearanceMode storedAppearanceMode(const Settings& settings) {
    const std::optional<std::string> stored = settings.string(MIDIRouterViewModel::kAppearanceModeKey);
    return stored ? appAppearanceModeFromRawValue(*stored).value_or(AppAppearanceMode::dark) : AppAppearanceMode::dark;
}

/// Whether the graph shows a pulse for messages of this kind: channel-voice messages except note-off, which would
/// double the pulses of every note.
bool makesGraphPulse(MIDIMessageKind kind) {
    return kind >= MIDIMessageKind::noteOn && kind <= MIDIMessageKind::pitchBend;
}

std::vector<MIDIActivityEvent> graphEvents(const MIDIActivityEvent& event) {
    std::vector<MIDIActivityEvent> events;
    for (MIDIMessageFragment& fragment : MIDIMessageParser::fragments(event.bytes)) {
        if (makesGraphPulse(fragment.messageKind)) {
            events.emplace_back(UUID::random(), event.routeID, event.timestamp, std::move(fragment.bytes));
        }
    }
    return events;
}

template <typename Predicate>
void removeEvents(ActivityEvents& events, const Predicate& isUnwanted) {
    events.erase(std::remove_if(events.begin(), events.end(), isUnwanted), events.end());
}

}  // namespace

std::shared_ptr<MIDIRouterViewModel> MIDIRouterViewModel::create(std::shared_ptr<CoreMIDIRouterEngine> engine,
                                                                 std::shared_ptr<RouteStore> routeStore,
                                                                 std::shared_ptr<Settings> settings,
                                                                 std::shared_ptr<const Clock> clock,
                                                                 std::shared_ptr<DispatchQueue> mainQueue) {
    auto model = std::make_shared<MIDIRouterViewModel>(Private(), std::move(engine), std::move(routeStore),
                                                       std::move(settings), std::move(clock), std::move(mainQueue));
    model->engine_->setDelegate(model);
    return model;
}

MIDIRouterViewModel::MIDIRouterViewModel(Private, std::shared_ptr<CoreMIDIRouterEngine> engine,
                                         std::shared_ptr<RouteStore> routeStore, std::shared_ptr<Settings> settings,
                                         std::shared_ptr<const Clock> clock, std::shared_ptr<DispatchQueue> mainQueue)
    : engine_(std::move(engine)),
      routeStore_(std::move(routeStore)),
      settings_(std::move(settings)),
      clock_(std::move(clock)),
      mainQueue_(std::move(mainQueue)),
      endpointAliases_(settings_),
      releasesHeldNotes_(settings_->string(kReleasesHeldNotesKey) == "true") {
    appearanceMode_.set(storedAppearanceMode(*settings_));
    MIDIRouteSetDocument document = routeStore_->loadDocument();
    routes_.set(document.selectedRouteSet().routes);
    selectedRouteSetID_.set(document.selectedSetID);
    routeSets_.set(std::move(document.routeSets));
    if (const std::optional<std::string>& problem = routeStore_->loadProblem()) {
        addDiagnostic(*problem);
        statusMessage_.set(*problem);
    }
}

Observation MIDIRouterViewModel::observe(Observers<Property>::Observer observer) {
    return observers_.add(std::move(observer));
}

Observation MIDIRouterViewModel::observeActivity(ActivityObservers::Observer observer) {
    return activityObservers_.add(std::move(observer));
}

Observation MIDIRouterViewModel::observeFailures(FailureObservers::Observer observer) {
    return failureObservers_.add(std::move(observer));
}

Observation MIDIRouterViewModel::observeDiagnostics(DiagnosticObservers::Observer observer) {
    return diagnosticObservers_.add(std::move(observer));
}

void MIDIRouterViewModel::startIfNeeded() {
    if (didStart_) {
        return;
    }
    didStart_ = true;
    engine_->setReleasesHeldNotes(releasesHeldNotes_);
    engine_->updateRoutes(routes());
    engine_->start();
    applyEndpointSnapshot();
}

void MIDIRouterViewModel::refreshDevices() {
    statusMessage_.set("Refreshing MIDI devices...");
    engine_->reloadEndpoints();
}

void MIDIRouterViewModel::applyEndpointSnapshot() {
    MIDIEndpoints endpoints = engine_->endpoints();
    EndpointList sortedSources = sortedByName(std::move(endpoints.sources));
    EndpointList sortedDestinations = sortedByName(std::move(endpoints.destinations));
    sources_.set(std::move(sortedSources));
    destinations_.set(std::move(sortedDestinations));
    reconcileRoutesWithCurrentEndpoints();
    removeGraphActivityForHiddenRoutes();
    const bool showsLoadProblem = statusMessage() == routeStore_->loadProblem();
    statusMessage_.set(std::to_string(sources().size()) + " inputs, " + std::to_string(destinations().size()) +
                       " outputs");
    if (showsLoadProblem) {
        // A command of the user replaces it, a change of devices does not.
        statusMessage_.set(*routeStore_->loadProblem());
    }
}

EndpointList MIDIRouterViewModel::sortedByName(std::vector<MIDIEndpointModel> endpoints) const {
    std::vector<std::pair<std::string, MIDIEndpointModel>> keyed;
    keyed.reserve(endpoints.size());
    for (MIDIEndpointModel& endpoint : endpoints) {
        std::string key = collator_.sortKey(endpoint.displayName);
        keyed.emplace_back(std::move(key), std::move(endpoint));
    }
    std::ranges::stable_sort(keyed, std::ranges::less{}, &std::pair<std::string, MIDIEndpointModel>::first);
    std::ranges::transform(keyed, endpoints.begin(), [](auto& entry) { return std::move(entry.second); });
    return EndpointList(std::move(endpoints));
}

void MIDIRouterViewModel::setAppearanceMode(AppAppearanceMode mode) {
    if (mode == appearanceMode()) {
        return;
    }
    appearanceMode_.set(mode);
    settings_->set(kAppearanceModeKey, rawValue(mode));
}

void MIDIRouterViewModel::setReleasesHeldNotes(bool releases) {
    if (releases == releasesHeldNotes_) {
        return;
    }
    releasesHeldNotes_ = releases;
    settings_->set(kReleasesHeldNotesKey, releases ? "true" : "false");
    engine_->setReleasesHeldNotes(releases);
}

void MIDIRouterViewModel::allNotesOff(std::function<void()> onDone) {
    std::vector<std::int32_t> destinationIDs;
    for (const MIDIRoute& route : routes()) {
        if (destinations_.value().find(route.destinationID) != nullptr &&
            std::ranges::find(destinationIDs, route.destinationID) == destinationIDs.end()) {
            destinationIDs.push_back(route.destinationID);
        }
    }
    const std::size_t count = destinationIDs.size();
    engine_->silence(std::move(destinationIDs), std::move(onDone));
    statusMessage_.set(count == 0   ? "The current set has no output to silence"
                       : count == 1 ? "All notes off on 1 output"
                                    : "All notes off on " + std::to_string(count) + " outputs");
}

void MIDIRouterViewModel::setEndpointAlias(MIDIEndpointDirection direction, std::int32_t endpointID,
                                           std::string_view alias) {
    PublishedProperty<EndpointList>& endpoints = direction == MIDIEndpointDirection::source ? sources_ : destinations_;
    endpoints.edit([&](EndpointList&) { endpointAliases_.set(direction, endpointID, alias); });
}

void MIDIRouterViewModel::setSelectedSourceID(std::optional<std::int32_t> id) {
    selectedSourceID_.set(id);
}

void MIDIRouterViewModel::setSelectedDestinationID(std::optional<std::int32_t> id) {
    selectedDestinationID_.set(id);
}

void MIDIRouterViewModel::setSelectedRouteID(std::optional<UUID> id) {
    selectedRouteID_.set(id);
}

void MIDIRouterViewModel::midiRouterEngineDidChangeEndpoints(CoreMIDIRouterEngine&) {
    handleOnMain(&MIDIRouterViewModel::applyEndpointSnapshot);
}

void MIDIRouterViewModel::midiRouterEngineDidRoute(CoreMIDIRouterEngine&, const MIDIActivityEvent& event) {
    handleOnMain(&MIDIRouterViewModel::recordRoutedMessage, event);
}

void MIDIRouterViewModel::midiRouterEngineDidFail(CoreMIDIRouterEngine&, const std::string& message) {
    handleOnMain(&MIDIRouterViewModel::recordFailure, message);
}

void MIDIRouterViewModel::midiRouterEngineDidLog(CoreMIDIRouterEngine&, const MIDIDiagnosticEvent& event) {
    handleOnMain(&MIDIRouterViewModel::recordDiagnostic, event);
}

template <typename... Arguments>
void MIDIRouterViewModel::handleOnMain(void (MIDIRouterViewModel::*handler)(const Arguments&...),
                                       const Arguments&... arguments) {
    if (mainQueue_->isCurrent() && postedReports_ == 0) {
        (this->*handler)(arguments...);
        return;
    }
    ++postedReports_;
    mainQueue_->async([weakModel = weak_from_this(), handler, ... copies = arguments] {
        if (const std::shared_ptr<MIDIRouterViewModel> model = weakModel.lock()) {
            --model->postedReports_;
            ((*model).*handler)(copies...);
        }
    });
}

void MIDIRouterViewModel::recordRoutedMessage(const MIDIActivityEvent& event) {
    activityEvents_.edit([&](ActivityEvents& events) { events.push_back(event); });
    if (std::vector<MIDIActivityEvent> pulses = graphEvents(event); !pulses.empty()) {
        appendGraphActivity(std::move(pulses));
    }
    activityObservers_.notify(event);
}

void MIDIRouterViewModel::recordFailure(const std::string& message) {
    statusMessage_.set(message);
    failureObservers_.notify(message);
}

void MIDIRouterViewModel::recordDiagnostic(const MIDIDiagnosticEvent& event) {
    diagnosticEvents_.edit([&](DiagnosticEvents& events) { events.push_back(event); });
    diagnosticObservers_.notify(event);
}

void MIDIRouterViewModel::addDiagnostic(std::string message) {
    recordDiagnostic({UUID::random(), clock_->now(), std::move(message)});
}

void MIDIRouterViewModel::appendGraphActivity(std::vector<MIDIActivityEvent> events) {
    const Instant cutoff = clock_->now() - kGraphActivityRetention;
    const auto isExpired = [cutoff](const MIDIActivityEvent& event) { return event.timestamp < cutoff; };
    // Expired events are removed first, so that they do not displace events that are still to be shown.
    std::erase_if(events, isExpired);
    graphActivityEvents_.edit([&](ActivityEvents& shown) {
        while (!shown.empty() && isExpired(shown.front())) {
            shown.pop_front();
        }
        // If the clock was set back, expired events can be behind younger ones.
        removeEvents(shown, isExpired);
        for (MIDIActivityEvent& event : events) {
            shown.push_back(std::move(event));
        }
    });
}

void MIDIRouterViewModel::removeGraphActivityForHiddenRoutes() {
    graphActivityEvents_.edit([this](ActivityEvents& events) {
        if (events.empty()) {
            return;
        }
        std::unordered_set<UUID> visibleIDs;
        for (const MIDIRoute& route : routes()) {
            if (sources_.value().find(route.sourceID) != nullptr &&
                destinations_.value().find(route.destinationID) != nullptr) {
                visibleIDs.insert(route.id);
            }
        }
        removeEvents(events, [&](const MIDIActivityEvent& event) { return !visibleIDs.contains(event.routeID); });
    });
}

void MIDIRouterViewModel::removeGraphActivity(const UUID& routeID) {
    graphActivityEvents_.edit([&](ActivityEvents& events) {
        removeEvents(events, [&](const MIDIActivityEvent& event) { return event.routeID == routeID; });
    });
}

void MIDIRouterViewModel::persistRoutes() {
    syncSelectedRouteSetRoutes();
    engine_->updateRoutes(routes());
    saveRouteSetDocument("Set " + text::quoted(selectedRouteSetName()) + " saved (" + std::to_string(routes().size()) +
                         " connections)");
}

void MIDIRouterViewModel::syncSelectedRouteSetRoutes() {
    if (const std::optional<std::size_t> index = selectedRouteSetIndex()) {
        routeSets_.edit([&](std::vector<MIDIRouteSet>& routeSets) { routeSets[*index].routes = routes(); });
    }
}

void MIDIRouterViewModel::saveRouteSetDocument(std::optional<std::string> statusMessage) {
    if (std::exchange(isKeptCopyShown_, false)) {
        keptCopy_.reset();
    }
    try {
        if (const auto copy = routeStore_->saveDocument(MIDIRouteSetDocument(selectedRouteSetID(), routeSets()))) {
            addDiagnostic(routeStore_->fileURL().string() +
                          ": replaced a file that Corvel had not read; it is kept as " + copy->string());
            keptCopy_ = copy->filename().string();
        }
        saveFailure_.reset();
    } catch (const std::exception& error) {
        // Routing continues with the values in memory. The next change tries to save again.
        const std::string failure = std::string("Could not save sets: ") + error.what();
        recordSaveFailure(failure);
        statusMessage_.set(failure);
        return;
    }
    if (statusMessage) {
        showOutcome(*std::move(statusMessage));
    }
}

void MIDIRouterViewModel::recordSaveFailure(std::string message) {
    if (saveFailure_ != message) {
        saveFailure_ = std::move(message);
        failureObservers_.notify(*saveFailure_);
    }
}

void MIDIRouterViewModel::showOutcome(std::string message) {
    if (keptCopy_) {
        message += "; the previous file is kept as " + *keptCopy_;
        isKeptCopyShown_ = true;
    }
    statusMessage_.set(std::move(message));
}

}  // namespace corvel
