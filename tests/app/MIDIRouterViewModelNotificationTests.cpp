#include "tests/app/ModelFixture.hpp"

#include <functional>
#include <string>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Property = MIDIRouterViewModel::Property;

/// Which properties a command tells of, in which order.
class MIDIRouterViewModelNotifications : public ModelFixture {
protected:
    MIDIRouterViewModelNotifications() {
        makeModel(MIDIRouteSetDocument(makeID(1), {{makeID(1), "Live", {}}, {makeID(2), "Studio", {}}}));
        startModel();
        model->connect(1011, 1021);
        id = model->routes().front().id;
        model->addChannelAssignment(id, ChannelMode::force(2), optionP);
    }

    /// The properties told of; a run of `routes` counts as one, as a command may change them in several steps.
    [[nodiscard]] std::vector<Property> toldBy(const std::function<void()>& command) const {
        std::vector<Property> told;
        const Observation observation = model->observe([&](Property property) {
            if (property != Property::routes || told.empty() || told.back() != Property::routes) {
                told.push_back(property);
            }
        });
        command();
        return told;
    }

    const KeyboardShortcutSpec optionP{"p", {KeyboardShortcutModifier::option}};
    UUID id;
};

TEST_F(MIDIRouterViewModelNotifications, OfConnecting) {
    EXPECT_THAT(toldBy([&] { model->connect(1011, 1022); }),
                ElementsAre(Property::selectedSourceID, Property::selectedDestinationID, Property::routes,
                            Property::selectedRouteID, Property::routeSets, Property::statusMessage));
    EXPECT_THAT(toldBy([&] { model->connect(1011, 1022); }),
                ElementsAre(Property::selectedSourceID, Property::selectedDestinationID, Property::statusMessage));
    EXPECT_THAT(toldBy([&] { model->connect(1, 1022); }), ElementsAre(Property::statusMessage));
    EXPECT_THAT(toldBy([&] { model->connect(1011, 2); }), ElementsAre(Property::statusMessage));
}

TEST_F(MIDIRouterViewModelNotifications, OfDeletingAConnection) {
    EXPECT_THAT(toldBy([&] { model->deleteSelectedRoute(); }),
                ElementsAre(Property::routes, Property::selectedRouteID, Property::routeSets, Property::statusMessage));
    EXPECT_THAT(toldBy([&] { model->deleteSelectedRoute(); }), IsEmpty());
}

TEST_F(MIDIRouterViewModelNotifications, OfSwitchingAConnection) {
    EXPECT_THAT(toldBy([&] { model->setRouteEnabled(id, true); }),
                ElementsAre(Property::routes, Property::routeSets, Property::statusMessage))
        << "also when it is on already";
    EXPECT_THAT(toldBy([&] { model->setRouteEnabled(makeID(99), true); }), IsEmpty());
}

TEST_F(MIDIRouterViewModelNotifications, OfTheAssignmentCommands) {
    // The text of the save comes first, then the command's own.
    EXPECT_THAT(toldBy([&] { model->setActiveVariant(model->routes().front().activeVariantID, id); }),
                ElementsAre(Property::routes, Property::selectedRouteID, Property::graphActivityEvents,
                            Property::routeSets, Property::statusMessage, Property::statusMessage));
    const auto ofChange = ElementsAre(Property::routes, Property::graphActivityEvents, Property::routeSets,
                                      Property::statusMessage, Property::statusMessage);
    EXPECT_THAT(toldBy([&] { model->addChannelAssignment(id, ChannelMode::force(3), optionP); }), ofChange);
    EXPECT_THAT(toldBy([&] { model->updateActiveChannelAssignment(id, ChannelMode::force(4), optionP); }), ofChange);
    EXPECT_THAT(toldBy([&] { model->deleteActiveVariant(id); }), ofChange);
}

TEST_F(MIDIRouterViewModelNotifications, OfRefusedAssignmentCommands) {
    EXPECT_THAT(toldBy([&] { model->addChannelAssignment(id, ChannelMode::asIs(), optionP); }),
                ElementsAre(Property::statusMessage));
    EXPECT_THAT(toldBy([&] { model->updateActiveChannelAssignment(id, ChannelMode::asIs(), optionP); }),
                ElementsAre(Property::statusMessage));
    model->deleteActiveVariant(id);
    EXPECT_THAT(toldBy([&] { model->deleteActiveVariant(id); }), ElementsAre(Property::statusMessage));
    EXPECT_THAT(toldBy([&] {
                    model->setActiveVariant(makeID(98), id);
                    model->setActiveVariant(model->routes().front().activeVariantID, makeID(99));
                    model->addChannelAssignment(makeID(99), ChannelMode::force(9), optionP);
                    model->updateActiveChannelAssignment(makeID(99), ChannelMode::force(9), optionP);
                    model->deleteActiveVariant(makeID(99));
                }),
                IsEmpty());
}

TEST_F(MIDIRouterViewModelNotifications, OfShortcuts) {
    model->setSelectedRouteID(std::nullopt);
    EXPECT_THAT(toldBy([&] { EXPECT_TRUE(model->handleShortcut(optionP)); }),
                ElementsAre(Property::selectedRouteID, Property::routes, Property::selectedRouteID,
                            Property::graphActivityEvents, Property::routeSets, Property::statusMessage,
                            Property::statusMessage))
        << "selected by the shortcut and once more by the activation";
    EXPECT_THAT(toldBy([&] { EXPECT_TRUE(model->handleShortcut(optionP)); }),
                ElementsAre(Property::routes, Property::selectedRouteID, Property::graphActivityEvents,
                            Property::routeSets, Property::statusMessage, Property::statusMessage));
    const KeyboardShortcutSpec unknown("q", {KeyboardShortcutModifier::option});
    EXPECT_THAT(toldBy([&] { EXPECT_FALSE(model->handleShortcut(unknown)); }), IsEmpty());
    model->connect(1011, 1022);
    model->addChannelAssignment(model->routes().back().id, ChannelMode::force(2), optionP);
    model->setSelectedRouteID(std::nullopt);
    EXPECT_THAT(toldBy([&] { EXPECT_TRUE(model->handleShortcut(optionP)); }), ElementsAre(Property::statusMessage));
}

TEST_F(MIDIRouterViewModelNotifications, OfTheSetCommands) {
    const auto ofNewSet =
        ElementsAre(Property::routeSets, Property::selectedRouteSetID, Property::routes, Property::selectedRouteID,
                    Property::graphActivityEvents, Property::statusMessage);
    EXPECT_THAT(toldBy([&] { model->duplicateSelectedRouteSet(""); }), ofNewSet);
    EXPECT_THAT(toldBy([&] { model->createRouteSet("New"); }), ofNewSet);
    EXPECT_THAT(toldBy([&] { model->renameSelectedRouteSet("Newer"); }),
                ElementsAre(Property::routeSets, Property::statusMessage));
    // The graph is emptied, and pruned once more behind the re-binding, for which an empty set has nothing.
    EXPECT_THAT(toldBy([&] { model->deleteSelectedRouteSet(); }),
                ElementsAre(Property::routeSets, Property::selectedRouteSetID, Property::routes,
                            Property::selectedRouteID, Property::graphActivityEvents, Property::routes,
                            Property::graphActivityEvents, Property::statusMessage));
    EXPECT_THAT(toldBy([&] { model->selectRouteSet(makeID(2)); }),
                ElementsAre(Property::selectedRouteSetID, Property::routes, Property::selectedRouteID,
                            Property::graphActivityEvents, Property::graphActivityEvents, Property::statusMessage));
}

TEST_F(MIDIRouterViewModelNotifications, OfSetCommandsThatDoNothing) {
    EXPECT_THAT(toldBy([&] {
                    model->selectRouteSet(makeID(1));
                    model->selectRouteSet(makeID(99));
                }),
                IsEmpty());
    model->deleteSelectedRouteSet();
    EXPECT_THAT(toldBy([&] { model->deleteSelectedRouteSet(); }), IsEmpty());
}

TEST_F(MIDIRouterViewModelNotifications, OfAnEndpointSnapshotThatChangesNothing) {
    // What the endpoints are called is taken over although it is the same; no set gets it and nothing is saved.
    EXPECT_THAT(toldBy([&] { model->applyEndpointSnapshot(); }),
                ElementsAre(Property::sources, Property::destinations, Property::routes, Property::graphActivityEvents,
                            Property::statusMessage));
    model->createRouteSet("Empty");
    EXPECT_THAT(
        toldBy([&] { model->applyEndpointSnapshot(); }),
        ElementsAre(Property::sources, Property::destinations, Property::graphActivityEvents, Property::statusMessage));
}

TEST_F(MIDIRouterViewModelNotifications, OfAnEndpointSnapshotThatRebinds) {
    host->properties[21].uniqueID = 2021;
    EXPECT_THAT(toldBy([&] { model->applyEndpointSnapshot(); }),
                ElementsAre(Property::sources, Property::destinations, Property::routes, Property::routeSets,
                            Property::graphActivityEvents, Property::statusMessage));
}

TEST_F(MIDIRouterViewModelNotifications, OfTheEnginesReports) {
    EXPECT_THAT(toldBy([&] { report(id, {0x80, 60, 0}); }), ElementsAre(Property::activityEvents));
    EXPECT_THAT(toldBy([&] { model->midiRouterEngineDidFail(*engine, "x"); }), ElementsAre(Property::statusMessage));
    EXPECT_THAT(toldBy([&] {
                    model->midiRouterEngineDidLog(*engine, {makeID(5), clock->now(), "x"});
                }),
                ElementsAre(Property::diagnosticEvents));
    const std::vector<Property> told = toldBy([&] { report(id, {0x90, 60, 1}); });
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.front(), Property::activityEvents);
    EXPECT_THAT(told, ::testing::Contains(Property::graphActivityEvents));
    EXPECT_THAT(told, ::testing::Each(::testing::AnyOf(Property::activityEvents, Property::graphActivityEvents)));
}

TEST_F(MIDIRouterViewModelNotifications, OfRefreshingAndOfTheAppearance) {
    EXPECT_THAT(toldBy([&] { model->refreshDevices(); }), ElementsAre(Property::statusMessage));
    EXPECT_THAT(toldBy([&] { model->setAppearanceMode(AppAppearanceMode::dark); }), IsEmpty());
    EXPECT_THAT(toldBy([&] { model->setAppearanceMode(AppAppearanceMode::light); }),
                ElementsAre(Property::appearanceMode));
}

TEST_F(MIDIRouterViewModelNotifications, ShowsTheTextOfTheSaveBeforeTheCommandsOwn) {
    std::vector<std::string> replaced;
    const Observation observation = model->observe([&](Property property) {
        if (property == Property::statusMessage) {
            replaced.push_back(model->statusMessage());
        }
    });
    model->addChannelAssignment(id, ChannelMode::force(7), std::nullopt);
    EXPECT_THAT(replaced, ElementsAre("Added output channel Ch 2 with \u2325P", "Set \"Live\" saved (1 connections)"));
    EXPECT_EQ(model->statusMessage(), "Added output channel Ch 7");
}

}  // namespace
}  // namespace corvel::tests
