#include "app/DocumentCommands.hpp"

#include "tests/app/ModelFixture.hpp"

namespace corvel::tests {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class DocumentCommandsOnModel : public ModelFixture {
protected:
    DocumentCommandsOnModel() {
        host->addSource(13, {.displayName = "Twin", .uniqueID = 7});
        host->addSource(14, {.displayName = "Twin", .uniqueID = -8});
        model->applyEndpointSnapshot();
    }

    CommandResult connect(std::string_view source, std::string_view destination,
                          std::optional<int> channel = std::nullopt) {
        return DocumentCommands::connect(*model, source, destination, channel);
    }

    CommandResult disconnect(std::string_view source, std::string_view destination) {
        return DocumentCommands::disconnect(*model, source, destination);
    }
};

TEST_F(DocumentCommandsOnModel, ConnectsByNameOrIDOnceOnly) {
    EXPECT_EQ(connect("Keys", "Synth"), (CommandResult{0, "Set \"Default\" saved (1 connections)"}));
    EXPECT_EQ(connect("1011", "Drums"), (CommandResult{0, "Set \"Default\" saved (2 connections)"}));
    EXPECT_EQ(connect("-8", "+1021"), (CommandResult{0, "Set \"Default\" saved (3 connections)"}));
    EXPECT_EQ(connect("Keys", "1021"), (CommandResult{1, "Connection already exists"}));
    EXPECT_EQ(store->loadDocument().selectedRouteSet().routes, model->routes());
    settle();
    EXPECT_THAT(host->requested, IsEmpty()) << "the engine is not started";
}

TEST_F(DocumentCommandsOnModel, TakesNamesThatHideThemselvesAsTheyAreListed) {
    host->addSource(15, {.displayName = " ", .uniqueID = 9});
    host->addSource(16, {.displayName = "Ke\u200Bys", .uniqueID = 10});
    model->applyEndpointSnapshot();
    EXPECT_EQ(connect("(no name)", "Synth").exitCode, 0);
    EXPECT_EQ(connect("Ke\\u200Bys", "Synth").exitCode, 0);
    ASSERT_THAT(model->routes(), SizeIs(2));
    EXPECT_EQ(model->routes()[0].sourceID, 9);
    EXPECT_EQ(model->routes()[0].sourceName, " ") << "the document keeps the system's own name";
    EXPECT_EQ(model->routes()[1].sourceName, "Ke\u200Bys");
}

TEST_F(DocumentCommandsOnModel, ConnectsOnAChannel) {
    EXPECT_EQ(connect("Keys", "Synth", 3), (CommandResult{0, "Added output channel Ch 3"}));
    ASSERT_THAT(model->routes(), SizeIs(1));
    EXPECT_THAT(model->routes().front().variants, SizeIs(2));
    EXPECT_EQ(connect("Keys", "Synth", 4), (CommandResult{0, "Added output channel Ch 4"}));
    EXPECT_EQ(connect("Keys", "Synth", 3), (CommandResult{0, "Selected output channel Ch 3"}));
    EXPECT_EQ(model->routes().front().channelMode, ChannelMode::force(3));
    EXPECT_THAT(model->routes().front().variants, SizeIs(3));
    EXPECT_EQ(connect("Keys", "Synth", 1), (CommandResult{0, "Added output channel Ch 1"}));
    EXPECT_EQ(connect("Keys", "Synth", 16), (CommandResult{0, "Added output channel Ch 16"}));
    EXPECT_EQ(connect("Keys", "Synth", 0).exitCode, 1);
    EXPECT_EQ(connect("Keys", "Synth", 17), (CommandResult{1, "Channel 17 does not exist: channels are 1 to 16"}));
}

TEST_F(DocumentCommandsOnModel, LeavesAnotherConnectionSelectedAtADisconnection) {
    ASSERT_EQ(connect("Keys", "Synth").exitCode, 0);
    ASSERT_EQ(connect("Keys", "Drums").exitCode, 0);
    ASSERT_EQ(connect("Pads", "Drums").exitCode, 0);
    const UUID drums = model->routes()[1].id;
    model->setSelectedRouteID(drums);
    EXPECT_EQ(disconnect("Pads", "Drums").exitCode, 0);
    EXPECT_EQ(model->selectedRouteID(), drums);
    EXPECT_EQ(disconnect("Keys", "Drums").exitCode, 0);
    EXPECT_EQ(model->selectedRouteID(), model->routes().front().id);
}

TEST_F(DocumentCommandsOnModel, PerformsWhicheverCommandWasGiven) {
    using DocumentCommands::perform;
    EXPECT_EQ(perform(*model, CommandLine::Connect{"Keys", "Synth", 3}),
              (CommandResult{0, "Added output channel Ch 3"}));
    EXPECT_EQ(perform(*model, CommandLine::ListSets{}), (CommandResult{0, "* Default (1 connection)"}));
    EXPECT_EQ(perform(*model, CommandLine::AllNotesOff{}), (CommandResult{0, "All notes off on 1 output"}));
    EXPECT_EQ(perform(*model, CommandLine::Disconnect{"Keys", "Synth"}),
              (CommandResult{0, "Set \"Default\" saved (0 connections)"}));
    EXPECT_EQ(perform(*model, CommandLine::SelectSet{"Default"}),
              (CommandResult{0, "Set \"Default\" is the current one already"}));
}

TEST_F(DocumentCommandsOnModel, AnswersAnUnknownOrAmbiguousNameWithTheCandidates) {
    EXPECT_EQ(connect("Organ", "Synth"), (CommandResult{1,
                                                        "There is no input \"Organ\"; the inputs are:\n"
                                                        "  Keys  (ID 1011)\n"
                                                        "  Pads  (ID 1012)\n"
                                                        "  Twin  (ID 7)\n"
                                                        "  Twin  (ID -8)"}));
    EXPECT_EQ(connect("Twin", "Synth"), (CommandResult{1,
                                                       "Several inputs are called \"Twin\"; give the ID of one:\n"
                                                       "  Twin  (ID 7)\n"
                                                       "  Twin  (ID -8)"}));
    EXPECT_EQ(connect("Keys", "Keys"), (CommandResult{1,
                                                      "There is no output \"Keys\"; the outputs are:\n"
                                                      "  Drums  (ID 1022)\n"
                                                      "  Synth  (ID 1021)"}));
    EXPECT_THAT(model->routes(), IsEmpty());
}

TEST_F(DocumentCommandsOnModel, RefusesIDsThatAreNotThere) {
    EXPECT_EQ(connect("5", "1021"), (CommandResult{1, "Input endpoint is no longer available"}));
    EXPECT_EQ(connect("1011", "5", 2), (CommandResult{1, "Output endpoint is no longer available"}));
    EXPECT_EQ(connect("2147483648", "Synth").exitCode, 1);
    EXPECT_THAT(connect("99999999999", "Synth").text, StartsWith("99999999999 is not an endpoint ID"));
    EXPECT_THAT(disconnect("99999999999", "Synth").text, StartsWith("99999999999 is not an endpoint ID"));
    EXPECT_THAT(disconnect("Keys", "-2147483649").text, StartsWith("-2147483649 is not an endpoint ID"));
}

TEST_F(DocumentCommandsOnModel, TakesNamesAsTheyAreListed) {
    host->addSource(15, {.displayName = "Two\nLines", .uniqueID = 9});
    model->applyEndpointSnapshot();
    EXPECT_EQ(connect("Two\\nLines", "Synth").exitCode, 0);
    EXPECT_EQ(connect("Two\nLines", "Drums").exitCode, 0);
}

TEST_F(DocumentCommandsOnModel, DisconnectsAlsoWhatIsUnplugged) {
    static_cast<void>(connect("Keys", "Synth"));
    static_cast<void>(connect("Keys", "Drums"));
    unplugSource(11);
    model->applyEndpointSnapshot();
    EXPECT_EQ(disconnect("Keys", "1022"), (CommandResult{0, "Set \"Default\" saved (1 connections)"}));
    EXPECT_EQ(model->routes().front().destinationID, 1021);
    EXPECT_EQ(disconnect("Keys", "Drums"), (CommandResult{1,
                                                          "There is no connection from \"Keys\" to \"Drums\"; the "
                                                          "connections of \"Default\" are:\n"
                                                          "  Keys to Synth  (ID 1011 to 1021)"}));
    EXPECT_EQ(disconnect("1011", "Synth").exitCode, 0);
    EXPECT_EQ(disconnect("Keys", "Synth"), (CommandResult{1, "There is no connection from \"Keys\" to \"Synth\""}));
}

TEST_F(DocumentCommandsOnModel, AsksWhichOfSeveralConnectionsToDelete) {
    static_cast<void>(connect("7", "Synth"));
    static_cast<void>(connect("-8", "Synth"));
    EXPECT_EQ(disconnect("Twin", "Synth"),
              (CommandResult{1,
                             "Several connections go from \"Twin\" to \"Synth\"; give the IDs of one:\n"
                             "  Twin to Synth  (ID 7 to 1021)\n"
                             "  Twin to Synth  (ID -8 to 1021)"}));
    EXPECT_EQ(disconnect("-8", "Synth").exitCode, 0);
    EXPECT_EQ(model->routes().front().sourceID, 7);
}

TEST_F(DocumentCommandsOnModel, SelectsAndListsSets) {
    makeModel(MIDIRouteSetDocument(
        makeID(1),
        {{makeID(1), "Live", {makeRoute()}}, {makeID(2), "2", {}}, {makeID(3), "Twin", {}}, {makeID(4), "Twin", {}}}));
    EXPECT_EQ(DocumentCommands::listSets(*model),
              (CommandResult{
                  0, "* Live (1 connection)\n  2 (0 connections)\n  Twin (0 connections)\n  Twin (0 connections)"}));
    EXPECT_EQ(DocumentCommands::selectSet(*model, "2"), (CommandResult{0, "Loaded set \"2\""}));
    EXPECT_EQ(store->loadDocument().selectedSetID, makeID(2));
    EXPECT_EQ(DocumentCommands::selectSet(*model, "2"), (CommandResult{0, "Set \"2\" is the current one already"}));
    EXPECT_EQ(DocumentCommands::selectSet(*model, "Twin"),
              (CommandResult{1,
                             "Several sets are called \"Twin\"; give the ID of one:\n"
                             "  Twin  (ID 00000000-0000-4000-8000-000000000003)\n"
                             "  Twin  (ID 00000000-0000-4000-8000-000000000004)"}));
    EXPECT_EQ(DocumentCommands::selectSet(*model, "00000000-0000-4000-8000-000000000004").text, "Loaded set \"Twin\"");
    EXPECT_EQ(model->selectedRouteSetID(), makeID(4));
    EXPECT_THAT(DocumentCommands::selectSet(*model, "live").text,
                StartsWith("There is no set \"live\"; the sets are:\n"));
}

TEST_F(DocumentCommandsOnModel, FailsWhenTheDocumentCannotBeSaved) {
    breakStore();
    const CommandResult result = connect("Keys", "Synth", 3);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.text, StartsWith("Could not save sets: "));
}

}  // namespace
}  // namespace corvel::tests
