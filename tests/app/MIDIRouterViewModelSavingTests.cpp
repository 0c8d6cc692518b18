#include "core/storage/RouteSetDocumentCoder.hpp"
#include "tests/app/ModelFixture.hpp"
#include "tests/support/SaveCounter.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// The document on disk after a command, read by another store, and what a failed save shows.
class MIDIRouterViewModelSaving : public ModelFixture {
protected:
    MIDIRouterViewModelSaving() {
        startWith(MIDIRouteSetDocument(makeID(1), {{makeID(1), "Live", {keysTo(1021, "Synth", 11)}},
                                                   {makeID(2), "Studio", {keysTo(1022, "Drums", 12)}}}));
    }

    static MIDIRoute keysTo(std::int32_t destinationID, std::string destinationName, std::uint32_t id) {
        return makeRoute({.id = makeID(id),
                          .sourceID = 1011,
                          .destinationID = destinationID,
                          .sourceName = "Keys",
                          .sourceManufacturer = "Acme",
                          .destinationName = std::move(destinationName),
                          .destinationManufacturer = "Acme",
                          .activeVariantID = std::nullopt,
                          .variants = {}});
    }

    /// Starts the program on a document in a folder that a test can replace by a file.
    void startWith(const MIDIRouteSetDocument& document) {
        RouteStore(file).saveDocument(document);
        model.reset();
        engine = CoreMIDIRouterEngine::create(host, queue, mainQueue, clock);
        model = MIDIRouterViewModel::create(engine, std::make_shared<RouteStore>(file), settings, clock, mainQueue);
        startModel();
    }

    /// The document that the program would load at its next start.
    [[nodiscard]] MIDIRouteSetDocument saved() const { return RouteStore(file).loadDocument(); }

    /// Whether a command saves: the document is deleted before and must exist afterwards.
    [[nodiscard]] bool saves(const std::function<void()>& command) const {
        std::filesystem::remove(file);
        command();
        return std::filesystem::exists(file);
    }

    /// Replaces the folder by a file.
    void blockFolder() {
        std::filesystem::remove_all(file.parent_path());
        writeFile(file.parent_path(), "in the way");
    }
    void unblockFolder() { std::filesystem::remove(file.parent_path()); }

    /// The text for a save that fails now, with the store's text.
    [[nodiscard]] std::string failureText() const {
        try {
            RouteStore(file).saveDocument(document());
        } catch (const RouteStoreError& error) {
            return std::string("Could not save sets: ") + error.what();
        }
        return "the save did not fail";
    }

    const std::filesystem::path file = folder / "Corvel" / "routes.json";
    const KeyboardShortcutSpec optionP{"p", {KeyboardShortcutModifier::option}};
};

TEST_F(MIDIRouterViewModelSaving, SavesAfterEveryCommandThatChangesSomething) {
    const std::vector<std::pair<std::string_view, std::function<void()>>> commands{
        {"connect", [&] { model->connect(1012, 1021); }},
        {"switch off", [&] { model->setRouteEnabled(makeID(11), false); }},
        {"switch off again", [&] { model->setRouteEnabled(makeID(11), false); }},
        {"add", [&] { model->addChannelAssignment(makeID(11), ChannelMode::force(3), optionP); }},
        {"update", [&] { model->updateActiveChannelAssignment(makeID(11), ChannelMode::force(4), optionP); }},
        {"activate", [&] { model->setActiveVariant(model->routes()[0].variants[0].id, makeID(11)); }},
        {"shortcut", [&] { EXPECT_TRUE(model->handleShortcut(optionP)); }},
        {"shortcut again", [&] { EXPECT_TRUE(model->handleShortcut(optionP)); }},
        {"delete assignment", [&] { model->deleteActiveVariant(makeID(11)); }},
        {"delete connection", [&] { model->deleteSelectedRoute(); }},
        {"create", [&] { model->createRouteSet("A"); }},
        {"rename", [&] { model->renameSelectedRouteSet("B"); }},
        {"rename to the same", [&] { model->renameSelectedRouteSet("B"); }},
        {"select", [&] { model->selectRouteSet(makeID(2)); }},
        {"duplicate", [&] { model->duplicateSelectedRouteSet(""); }},
        {"delete set", [&] { model->deleteSelectedRouteSet(); }},
    };
    for (const auto& [name, command] : commands) {
        EXPECT_TRUE(saves(command)) << name;
        EXPECT_EQ(saved(), document()) << name;
    }
}

TEST_F(MIDIRouterViewModelSaving, SavesNothingAfterCommandsThatChangeNothing) {
    model->setSelectedRouteID(std::nullopt);
    const std::vector<std::pair<std::string_view, std::function<void()>>> commands{
        {"connect twice", [&] { model->connect(1011, 1021); }},
        {"connect a missing input", [&] { model->connect(1, 1021); }},
        {"connect a missing output", [&] { model->connect(1011, 2); }},
        {"delete without selection", [&] { model->deleteSelectedRoute(); }},
        {"switch an unknown one", [&] { model->setRouteEnabled(makeID(99), false); }},
        {"add the same", [&] { model->addChannelAssignment(makeID(11), ChannelMode::asIs(), optionP); }},
        {"delete the only assignment", [&] { model->deleteActiveVariant(makeID(11)); }},
        {"unassigned shortcut", [&] { EXPECT_FALSE(model->handleShortcut(optionP)); }},
        {"select the current set", [&] { model->selectRouteSet(makeID(1)); }},
        {"select an unknown set", [&] { model->selectRouteSet(makeID(99)); }},
        {"snapshot", [&] { model->applyEndpointSnapshot(); }},
        {"start again", [&] { model->startIfNeeded(); }},
        {"refresh",
         [&] {
             model->refreshDevices();
             settle();
         }},
        {"message",
         [&] {
             report(makeID(11), {0x90, 60, 100});
         }},
        {"failure", [&] { model->midiRouterEngineDidFail(*engine, "x"); }},
        {"appearance", [&] { model->setAppearanceMode(AppAppearanceMode::light); }},
        {"selections",
         [&] {
             model->setSelectedSourceID(1011);
             model->setSelectedDestinationID(1021);
             model->setSelectedRouteID(makeID(11));
         }},
        {"end", [&] { model.reset(); }},
    };
    for (const auto& [name, command] : commands) {
        EXPECT_FALSE(saves(command)) << name;
    }
}

TEST_F(MIDIRouterViewModelSaving, SavesADeletionWhoseSelectionNamesNothing) {
    model->setSelectedRouteID(makeID(99));
    EXPECT_TRUE(saves([&] { model->deleteSelectedRoute(); }));
    EXPECT_EQ(model->selectedRouteID(), makeID(11));
    EXPECT_THAT(model->routes(), SizeIs(1));
    EXPECT_EQ(model->statusMessage(), "Set \"Live\" saved (1 connections)");
}

TEST_F(MIDIRouterViewModelSaving, ShowsAFailedSaveAfterTheseCommands) {
    blockFolder();
    const std::vector<std::pair<std::string_view, std::function<void()>>> commands{
        {"connect", [&] { model->connect(1012, 1022); }},
        {"switch off", [&] { model->setRouteEnabled(makeID(11), false); }},
        {"switch on", [&] { model->setRouteEnabled(makeID(11), true); }},
        {"delete connection", [&] { model->deleteSelectedRoute(); }},
        {"create", [&] { model->createRouteSet("A"); }},
        {"rename", [&] { model->renameSelectedRouteSet("B"); }},
        {"duplicate", [&] { model->duplicateSelectedRouteSet("C"); }},
    };
    for (const auto& [name, command] : commands) {
        model->midiRouterEngineDidFail(*engine, "something else");
        command();
        EXPECT_EQ(model->statusMessage(), failureText()) << name;
    }
}

TEST_F(MIDIRouterViewModelSaving, HidesAFailedSaveBehindTheTextOfTheseCommands) {
    blockFolder();
    const std::string failure = failureText();
    std::vector<std::string> replaced;
    const Observation observation = model->observe([&](Property property) {
        if (property == Property::statusMessage) {
            replaced.push_back(model->statusMessage());
        }
    });
    const std::vector<std::pair<std::string, std::function<void()>>> commands{
        {"Added output channel Ch 3 with \u2325P",
         [&] { model->addChannelAssignment(makeID(11), ChannelMode::force(3), optionP); }},
        {"Updated output channel Ch 4",
         [&] { model->updateActiveChannelAssignment(makeID(11), ChannelMode::force(4), std::nullopt); }},
        {"Selected output channel As Is",
         [&] { model->setActiveVariant(model->routes()[0].variants[0].id, makeID(11)); }},
        {"Deleted output channel As Is", [&] { model->deleteActiveVariant(makeID(11)); }},
        {"Loaded set \"Studio\"", [&] { model->selectRouteSet(makeID(2)); }},
        {"Deleted set \"Studio\"", [&] { model->deleteSelectedRouteSet(); }},
    };
    for (const auto& [text, command] : commands) {
        replaced.clear();
        command();
        EXPECT_EQ(model->statusMessage(), text);
        ASSERT_THAT(replaced, SizeIs(2)) << "one save, one text of the command: " << text;
        EXPECT_EQ(replaced.back(), failure) << text;
    }
}

TEST_F(MIDIRouterViewModelSaving, RoutesAndGoesOnInMemoryWithoutADisk) {
    blockFolder();
    model->addChannelAssignment(makeID(11), ChannelMode::force(3), std::nullopt);
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(21U, std::vector<std::uint8_t>{0x92, 60, 100})));
    model->selectRouteSet(makeID(2));
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(22U, std::vector<std::uint8_t>{0x90, 60, 100})));
    model->createRouteSet("New");
    EXPECT_THAT(playKeys(), IsEmpty());
    model->deleteSelectedRouteSet();
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(22U, std::vector<std::uint8_t>{0x90, 60, 100})));
    EXPECT_THAT(model->routeSets(), SizeIs(2));
}

TEST_F(MIDIRouterViewModelSaving, WritesEverythingAtTheNextSaveThatSucceeds) {
    blockFolder();
    model->connect(1012, 1022);
    model->addChannelAssignment(makeID(11), ChannelMode::force(3), std::nullopt);
    model->createRouteSet("New");
    model->selectRouteSet(makeID(2));
    unblockFolder();
    model->renameSelectedRouteSet("Room");
    EXPECT_EQ(model->statusMessage(), "Renamed set \"Room\"");
    const MIDIRouteSetDocument onDisk = saved();
    EXPECT_EQ(onDisk, document());
    EXPECT_EQ(onDisk.selectedSetID, makeID(2));
    ASSERT_THAT(onDisk.routeSets, SizeIs(3));
    EXPECT_THAT(onDisk.routeSets[0].routes, SizeIs(2));
    EXPECT_THAT(onDisk.routeSets[0].routes[0].variants, SizeIs(2));
    EXPECT_EQ(onDisk.routeSets[1].name, "Room");
    EXPECT_EQ(onDisk.routeSets[2].name, "New");
}

TEST_F(MIDIRouterViewModelSaving, NamesTheSetAndCountsItsConnections) {
    model->connect(1012, 1022);
    EXPECT_EQ(model->statusMessage(), "Set \"Live\" saved (2 connections)");
    model->connect(1012, 1021);
    EXPECT_EQ(model->statusMessage(), "Set \"Live\" saved (3 connections)");
    model->connect(1011, 1022);
    EXPECT_EQ(model->statusMessage(), "Set \"Live\" saved (4 connections)");
    for (int left = 3; left >= 0; --left) {
        model->deleteSelectedRoute();
        EXPECT_EQ(model->statusMessage(), "Set \"Live\" saved (" + std::to_string(left) + " connections)");
    }
}

TEST_F(MIDIRouterViewModelSaving, ComesBackAsItWasLeft) {
    model->addChannelAssignment(makeID(11), ChannelMode::force(3), optionP);
    model->duplicateSelectedRouteSet("Encore");
    const MIDIRouteSetDocument left = document();
    startWith(saved());
    EXPECT_EQ(document(), left);
    EXPECT_EQ(model->routes(), left.routeSets.back().routes);
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(21U, std::vector<std::uint8_t>{0x92, 60, 100})));
}

TEST_F(MIDIRouterViewModelSaving, HappensOnceForEachCommand) {
    SaveCounter counter(file);
    const auto savesOf = [&](const std::function<void()>& command) {
        static_cast<void>(counter.take());
        command();
        return counter.take();
    };
    const UUID id = model->routes().front().id;
    EXPECT_EQ(savesOf([&] { model->connect(1012, 1022); }), 1U);
    EXPECT_EQ(savesOf([&] { model->setRouteEnabled(id, false); }), 1U);
    EXPECT_EQ(savesOf([&] { model->addChannelAssignment(id, ChannelMode::force(3), std::nullopt); }), 1U);
    EXPECT_EQ(savesOf([&] { model->updateActiveChannelAssignment(id, ChannelMode::force(4), std::nullopt); }), 1U);
    EXPECT_EQ(savesOf([&] { model->deleteActiveVariant(id); }), 1U);
    EXPECT_EQ(savesOf([&] { model->deleteSelectedRoute(); }), 1U);
    EXPECT_EQ(savesOf([&] { model->selectRouteSet(makeID(2)); }), 1U);
    EXPECT_EQ(savesOf([&] { model->createRouteSet("New"); }), 1U);
    EXPECT_EQ(savesOf([&] { model->duplicateSelectedRouteSet(""); }), 1U);
    EXPECT_EQ(savesOf([&] { model->renameSelectedRouteSet("Newer"); }), 1U);
    EXPECT_EQ(savesOf([&] { model->deleteSelectedRouteSet(); }), 1U);
    EXPECT_EQ(savesOf([&] { model->applyEndpointSnapshot(); }), 0U);
}

/// The document as another program or the user has changed it.
MIDIRouteSetDocument edited() {
    return {makeID(9), {{makeID(9), "Edited", {}}}};
}

TEST_F(MIDIRouterViewModelSaving, TellsWhereTheFileOfAnotherProgramIsKept) {
    const std::vector<std::pair<std::string, std::function<void()>>> commands{
        {"Set \"Live\" saved (2 connections)", [&] { model->connect(1012, 1022); }},
        {"Added output channel Ch 3", [&] { model->addChannelAssignment(makeID(11), ChannelMode::force(3), {}); }},
        {"Loaded set \"Studio\"", [&] { model->selectRouteSet(makeID(2)); }},
        {"Renamed set \"Room\"", [&] { model->renameSelectedRouteSet("Room"); }},
        {"Deleted set \"Room\"", [&] { model->deleteSelectedRouteSet(); }},
    };
    const std::string kept = (file.parent_path() / "routes.json.kept").string();
    for (const auto& [text, command] : commands) {
        writeFile(file, RouteSetDocumentCoder::encode(edited()));
        command();
        EXPECT_EQ(model->statusMessage(), text + "; the previous file is kept as routes.json.kept");
        EXPECT_EQ(model->diagnosticEvents().back().message,
                  file.string() + ": replaced a file that Corvel had not read; it is kept as " + kept);
        EXPECT_EQ(saved(), document());
    }
    EXPECT_EQ(RouteStore(kept).loadDocument(), edited());
    model->renameSelectedRouteSet("Encore");
    EXPECT_EQ(model->statusMessage(), "Renamed set \"Encore\"") << "said once";
}

TEST_F(MIDIRouterViewModelSaving, TellsOfACopyThatADeviceCausedWithTheNextCommand) {
    writeFile(file, RouteSetDocumentCoder::encode(edited()));
    // The synth returns with another ID, which is saved.
    unplugDestination(21);
    model->applyEndpointSnapshot();
    host->addDestination(31, {.displayName = "Synth", .manufacturer = "Acme", .uniqueID = 1031});
    model->applyEndpointSnapshot();
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    EXPECT_THAT(model->diagnosticEvents().back().message, ::testing::HasSubstr("it is kept as "));
    model->selectRouteSet(makeID(2));
    EXPECT_EQ(model->statusMessage(), "Loaded set \"Studio\"; the previous file is kept as routes.json.kept");
}

TEST_F(MIDIRouterViewModelSaving, TellsThatTheDocumentCouldNotBeReadUntilTheFirstCommand) {
    writeFile(file, "{oops");
    model = MIDIRouterViewModel::create(engine, std::make_shared<RouteStore>(file), settings, clock, mainQueue);
    const std::string problem = file.string() + ": line 1: not valid JSON; an empty set is used";
    EXPECT_EQ(model->statusMessage(), problem);
    ASSERT_THAT(model->diagnosticEvents(), SizeIs(1));
    EXPECT_EQ(model->diagnosticEvents().front().message, problem);
    startModel();
    model->applyEndpointSnapshot();
    EXPECT_EQ(model->statusMessage(), problem) << "devices do not hide it";
    model->connect(1011, 1021);
    EXPECT_EQ(model->statusMessage(),
              "Set \"Default\" saved (1 connections); the previous file is kept as "
              "routes.json.unreadable");
    model->applyEndpointSnapshot();
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    EXPECT_EQ(readFile(file.parent_path() / "routes.json.unreadable"), "{oops");
}

}  // namespace
}  // namespace corvel::tests
