#include "tests/app/ModelFixture.hpp"

#include <functional>
#include <set>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// The properties that a command notifies. Their order is not tested; a test of random commands checks that nothing
/// changes without a notification.
class MIDIRouterViewModelNotifications : public ModelFixture {
protected:
    MIDIRouterViewModelNotifications() {
        makeModel(MIDIRouteSetDocument(makeID(1), {{makeID(1), "Live", {}}, {makeID(2), "Studio", {}}}));
        startModel();
        model->connect(1011, 1021);
        id = model->routes().front().id;
        model->addChannelAssignment(id, ChannelMode::force(2), optionP);
    }

    [[nodiscard]] std::set<Property> toldBy(const std::function<void()>& command) const {
        std::set<Property> told;
        const Observation observation = model->observe([&](Property property) { told.insert(property); });
        command();
        return told;
    }

    const KeyboardShortcutSpec optionP{"p", {KeyboardShortcutModifier::option}};
    UUID id;
};

TEST_F(MIDIRouterViewModelNotifications, OfAValueThatIsSetToTheSame) {
    EXPECT_THAT(toldBy([&] { model->setRouteEnabled(id, true); }),
                UnorderedElementsAre(Property::routes, Property::routeSets, Property::statusMessage));
    // The endpoint names are stored although they are equal; no set gets them and nothing is saved.
    EXPECT_THAT(toldBy([&] { model->applyEndpointSnapshot(); }),
                UnorderedElementsAre(Property::sources, Property::destinations, Property::routes,
                                     Property::graphActivityEvents, Property::statusMessage));
}

TEST_F(MIDIRouterViewModelNotifications, OfRefusedCommandsAreOfTheStatusAlone) {
    const auto ofStatus = ElementsAre(Property::statusMessage);
    EXPECT_THAT(toldBy([&] { model->connect(1, 1022); }), ofStatus);
    EXPECT_THAT(toldBy([&] { model->connect(1011, 2); }), ofStatus);
    EXPECT_THAT(toldBy([&] { model->addChannelAssignment(id, ChannelMode::asIs(), optionP); }), ofStatus);
    EXPECT_THAT(toldBy([&] { model->updateActiveChannelAssignment(id, ChannelMode::asIs(), optionP); }), ofStatus);
    model->deleteActiveVariant(id);
    EXPECT_THAT(toldBy([&] { model->deleteActiveVariant(id); }), ofStatus);
}

TEST_F(MIDIRouterViewModelNotifications, OfAmbiguousShortcutsAreOfTheStatusAlone) {
    model->connect(1011, 1022);
    model->addChannelAssignment(model->routes().back().id, ChannelMode::force(2), optionP);
    model->setSelectedRouteID(std::nullopt);
    EXPECT_THAT(toldBy([&] { EXPECT_TRUE(model->handleShortcut(optionP)); }), ElementsAre(Property::statusMessage));
}

TEST_F(MIDIRouterViewModelNotifications, OfConnectingAgainAreOfTheSelectionAndTheStatus) {
    EXPECT_THAT(
        toldBy([&] { model->connect(1011, 1021); }),
        UnorderedElementsAre(Property::selectedSourceID, Property::selectedDestinationID, Property::statusMessage));
}

TEST_F(MIDIRouterViewModelNotifications, AreNoneOfCommandsThatDoNothing) {
    const KeyboardShortcutSpec unknown("q", {KeyboardShortcutModifier::option});
    EXPECT_THAT(toldBy([&] {
                    model->setRouteEnabled(makeID(99), true);
                    model->setActiveVariant(makeID(98), id);
                    model->setActiveVariant(model->routes().front().activeVariantID, makeID(99));
                    model->addChannelAssignment(makeID(99), ChannelMode::force(9), optionP);
                    model->updateActiveChannelAssignment(makeID(99), ChannelMode::force(9), optionP);
                    model->deleteActiveVariant(makeID(99));
                    model->selectRouteSet(makeID(1));
                    model->selectRouteSet(makeID(99));
                    model->setAppearanceMode(AppAppearanceMode::dark);
                    EXPECT_FALSE(model->handleShortcut(unknown));
                }),
                IsEmpty());
    model->deleteSelectedRoute();
    EXPECT_THAT(toldBy([&] { model->deleteSelectedRoute(); }), IsEmpty());
    model->deleteSelectedRouteSet();
    EXPECT_THAT(toldBy([&] { model->deleteSelectedRouteSet(); }), IsEmpty()) << "the last set stays";
}

TEST_F(MIDIRouterViewModelNotifications, OfTheEnginesReports) {
    EXPECT_THAT(toldBy([&] { report(id, {0x80, 60, 0}); }), ElementsAre(Property::activityEvents));
    EXPECT_THAT(toldBy([&] {
                    report(id, {0x90, 60, 1});
                }),
                UnorderedElementsAre(Property::activityEvents, Property::graphActivityEvents));
    EXPECT_THAT(toldBy([&] { model->midiRouterEngineDidFail(*engine, "x"); }), ElementsAre(Property::statusMessage));
    EXPECT_THAT(toldBy([&] {
                    model->midiRouterEngineDidLog(*engine, {makeID(5), clock->now(), "x"});
                }),
                ElementsAre(Property::diagnosticEvents));
}

TEST_F(MIDIRouterViewModelNotifications, OfRefreshingAndOfTheAppearance) {
    EXPECT_THAT(toldBy([&] { model->refreshDevices(); }), ElementsAre(Property::statusMessage));
    EXPECT_THAT(toldBy([&] { model->setAppearanceMode(AppAppearanceMode::light); }),
                ElementsAre(Property::appearanceMode));
}

}  // namespace
}  // namespace corvel::tests
