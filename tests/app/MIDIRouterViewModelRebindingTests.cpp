#include "tests/app/ModelFixture.hpp"

#include <algorithm>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

class MIDIRouterViewModelRebinding : public ModelFixture {
protected:
    MIDIRouterViewModelRebinding() {
        startModel();
        model->connect(1011, 1021);
        model->addChannelAssignment(model->routes().front().id, ChannelMode::force(5), std::nullopt);
    }

    void reload() {
        model->refreshDevices();
        settle();
    }

    [[nodiscard]] const MIDIRoute& route() const { return model->routes().front(); }
};

TEST_F(MIDIRouterViewModelRebinding, FollowsADeviceThatComesBackUnderAnotherID) {
    unplugDestination(21);
    reload();
    EXPECT_EQ(model->routeAvailability(route()), RouteAvailability::missingOutput);
    EXPECT_EQ(route().destinationID, 1021);
    host->addDestination(31, {.displayName = "Synth", .manufacturer = "Acme", .uniqueID = 3031});
    reload();
    EXPECT_EQ(route().destinationID, 3031);
    EXPECT_EQ(route().variants[0].destinationID, 3031);
    EXPECT_EQ(route().variants[1].destinationID, 3031);
    EXPECT_EQ(model->routeAvailability(route()), RouteAvailability::active);
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    EXPECT_EQ(store->loadDocument(), document());
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(31U, std::vector<std::uint8_t>{0x94, 60, 100})));
}

TEST_F(MIDIRouterViewModelRebinding, SavesWhatOnlyAnAssignmentThatIsNotActiveFollows) {
    MIDIRouteVariant active = makeVariant({.id = makeID(2),
                                           .sourceID = 1011,
                                           .destinationID = 1021,
                                           .sourceName = "Keys",
                                           .sourceManufacturer = "Acme",
                                           .destinationName = "Synth",
                                           .destinationManufacturer = "Acme"});
    MIDIRouteVariant other = makeVariant({.id = makeID(3),
                                          .sourceID = 1012,
                                          .destinationID = 1022,
                                          .sourceName = "Pads",
                                          .sourceManufacturer = "Acme",
                                          .destinationName = "Drums",
                                          .destinationManufacturer = "Acme"});
    makeModel(MIDIRouteSetDocument::singleSet(
        {makeRoute({.id = makeID(1), .activeVariantID = makeID(2), .variants = {active, other}})}, "Default"));
    startModel();
    host->properties[12].uniqueID = 3012;
    reload();
    EXPECT_EQ(route().variants[1].sourceID, 3012);
    EXPECT_EQ(store->loadDocument().selectedRouteSet().routes, model->routes());
    host->properties[22].uniqueID = 3022;
    reload();
    EXPECT_EQ(route().variants[1].destinationID, 3022);
    EXPECT_EQ(store->loadDocument().selectedRouteSet().routes, model->routes());
}

TEST_F(MIDIRouterViewModelRebinding, TakesOverNewLabelsOfAKnownID) {
    host->properties[11].displayName = "Grand";
    host->properties[11].manufacturer = std::nullopt;
    reload();
    EXPECT_EQ(route().sourceName, "Grand");
    EXPECT_EQ(route().sourceManufacturer, std::nullopt);
    EXPECT_EQ(store->loadDocument(), document());
}

TEST_F(MIDIRouterViewModelRebinding, TakesOverALabelThatAloneHasChanged) {
    host->properties[11].displayName = "Grand";
    reload();
    EXPECT_EQ(route().sourceName, "Grand");
    EXPECT_EQ(store->loadDocument(), document());
    host->properties[11].manufacturer = "Other";
    reload();
    EXPECT_EQ(route().sourceManufacturer, "Other");
    EXPECT_EQ(store->loadDocument(), document());
}

TEST_F(MIDIRouterViewModelRebinding, HoldsToAKnownIDAlthoughAnotherDeviceBearsTheStoredLabels) {
    host->properties[11].displayName = "Grand";
    host->addSource(31, {.displayName = "Keys", .manufacturer = "Acme", .uniqueID = 3031});
    reload();
    EXPECT_EQ(route().sourceID, 1011);
    EXPECT_EQ(route().sourceName, "Grand");
}

TEST_F(MIDIRouterViewModelRebinding, TakesNoDeviceOfAnotherManufacturer) {
    unplugSource(11);
    host->addSource(31, {.displayName = "Keys", .manufacturer = "Other", .uniqueID = 3031});
    host->addSource(32, {.displayName = "Keys", .manufacturer = std::nullopt, .uniqueID = 3032});
    reload();
    EXPECT_EQ(route().sourceID, 1011);
    host->addSource(33, {.displayName = "Keys", .manufacturer = "Acme", .uniqueID = 3033});
    reload();
    EXPECT_EQ(route().sourceID, 3033);
}

TEST_F(MIDIRouterViewModelRebinding, FindsADeviceByItsNameAloneIfNoManufacturerIsStored) {
    host->properties[11].manufacturer = std::nullopt;
    reload();
    unplugSource(11);
    host->addSource(31, {.displayName = "Keys", .manufacturer = "Other", .uniqueID = 3031});
    reload();
    EXPECT_EQ(route().sourceID, 3031);
    EXPECT_EQ(route().sourceManufacturer, "Other");
}

TEST_F(MIDIRouterViewModelRebinding, NeverGuessesBetweenTwoDevicesOfOneName) {
    unplugSource(11);
    host->addSource(31, {.displayName = "Keys", .manufacturer = "Acme", .uniqueID = 3031});
    host->addSource(32, {.displayName = "Keys", .manufacturer = "Acme", .uniqueID = 3032});
    reload();
    EXPECT_EQ(route().sourceID, 1011);
    EXPECT_EQ(model->routeAvailability(route()), RouteAvailability::missingInput);
    unplugSource(31);
    reload();
    EXPECT_EQ(route().sourceID, 3032);
}

TEST_F(MIDIRouterViewModelRebinding, SavesNothingWhenNothingChanged) {
    std::filesystem::remove(store->fileURL());
    unplugSource(11);
    reload();
    EXPECT_FALSE(std::filesystem::exists(store->fileURL()));
}

TEST_F(MIDIRouterViewModelRebinding, HidesAFailedSaveBehindTheCounts) {
    breakStore();
    host->properties[11].uniqueID = 4011;
    reload();
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    EXPECT_THAT(model->saveFailure().value_or(""), StartsWith("Could not save sets: "));
    EXPECT_EQ(route().sourceID, 4011);
}

}  // namespace
}  // namespace corvel::tests
