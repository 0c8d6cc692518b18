#include "core/storage/RouteStore.hpp"

#include "core/storage/RouteSetDocumentCoder.hpp"
#include "tests/support/DocumentTexts.hpp"
#include "tests/support/FileSizeLimit.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {
namespace {

using namespace std::string_view_literals;
using RouteSetDocumentCoder::encode;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;
using tests::entries;
using tests::makeID;
using tests::makeRoute;
using tests::TemporaryFolder;
using tests::writeFile;

MIDIRouteSetDocument documentNamed(const std::string& name) {
    return {makeID(1), {{makeID(1), name, {}}}};
}

/// The text of the error, or no value if the work succeeds.
std::optional<std::string> failureOf(const std::function<void()>& work) {
    try {
        work();
        return std::nullopt;
    } catch (const RouteStoreError& error) {
        return error.what();
    }
}

std::filesystem::perms permissions(const std::filesystem::path& path) {
    return std::filesystem::status(path).permissions();
}

TEST(RouteStoreSaving, WritesTheDocumentWithItsFolders) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "one/two/routes.json");
    store.saveDocument(documentNamed("Stage"));
    EXPECT_EQ(tests::readFile(folder / "one/two/routes.json"), encode(documentNamed("Stage")));
    EXPECT_EQ(store.loadDocument(), documentNamed("Stage"));
    EXPECT_THAT(entries(folder / "one/two"), ElementsAre("routes.json")) << "nothing temporary is left";
}

TEST(RouteStoreSaving, MakesFileAndFoldersWithTheUsualPermissions) {
    const TemporaryFolder folder;
    const ::mode_t previous = ::umask(022);
    RouteStore(folder / "one/two/routes.json").saveDocument(documentNamed("Stage"));
    ::umask(previous);
    EXPECT_EQ(permissions(folder / "one"), std::filesystem::perms(0755));
    EXPECT_EQ(permissions(folder / "one/two"), std::filesystem::perms(0755));
    EXPECT_EQ(permissions(folder / "one/two/routes.json"), std::filesystem::perms(0644));
}

TEST(RouteStoreSaving, ReplacesTheWholeFile) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    store.saveDocument(documentNamed(std::string(10'000, 'x')));
    store.saveDocument(documentNamed("Stage"));
    EXPECT_EQ(tests::readFile(folder / "routes.json"), encode(documentNamed("Stage")));
    store.saveDocument(documentNamed("Stage"));
    EXPECT_EQ(tests::readFile(folder / "routes.json"), encode(documentNamed("Stage")));
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(RouteStoreSaving, NeverWritesIntoTheOldFile) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    store.saveDocument(documentNamed("Old"));
    std::filesystem::create_hard_link(folder / "routes.json", folder / "as a reader sees it");
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(tests::readFile(folder / "as a reader sees it"), encode(documentNamed("Old")));
    EXPECT_EQ(tests::readFile(folder / "routes.json"), encode(documentNamed("New")));
}

TEST(RouteStoreSaving, WritesTheDocumentWithoutNormalisingIt) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    MIDIRouteSetDocument document = documentNamed("Stage");
    document.selectedSetID = makeID(0xFF);
    document.routeSets.clear();
    store.saveDocument(document);
    EXPECT_EQ(tests::readFile(folder / "routes.json"), R"({
  "routeSets": [],
  "selectedSetID": "00000000-0000-4000-8000-0000000000FF"
})");
    EXPECT_EQ(store.loadDocument().routeSets.at(0).name, "Default");
}

TEST(RouteStoreSaving, OfAListOfConnectionsDiscardsAllOtherSets) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "deeper/routes.json");
    const std::vector routes{makeRoute({.id = makeID(5)}), makeRoute({.id = makeID(6)})};
    store.save(routes);
    EXPECT_EQ(store.load(), routes);
    const UUID firstID = store.loadDocument().selectedSetID;
    store.saveDocument({makeID(2), {{makeID(1), "Stage", {}}, {makeID(2), "Studio", {}}}});
    store.save(routes);
    const MIDIRouteSetDocument document = store.loadDocument();
    ASSERT_EQ(document.routeSets.size(), 1U);
    EXPECT_EQ(document.routeSets.front().name, "Default");
    EXPECT_EQ(document.routeSets.front().routes, routes);
    EXPECT_EQ(document.selectedSetID, document.routeSets.front().id);
    EXPECT_NE(document.selectedSetID, firstID);
    store.save({});
    EXPECT_THAT(store.load(), IsEmpty());
}

TEST(RouteStoreSaving, KeepsTheModeOfTheOldFile) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    store.saveDocument(documentNamed("Old"));
    for (const unsigned mode : {0600U, 0640U, 0664U, 0444U, 0777U}) {
        std::filesystem::permissions(folder / "routes.json", std::filesystem::perms(mode));
        store.saveDocument(documentNamed("New"));
        EXPECT_EQ(permissions(folder / "routes.json"), std::filesystem::perms(mode));
    }
}

TEST(RouteStoreSaving, FollowsASymbolicLink) {
    const TemporaryFolder folder;
    writeFile(folder / "real/connections.json", encode(documentNamed("Old")));
    std::filesystem::permissions(folder / "real/connections.json", std::filesystem::perms(0640));
    std::filesystem::create_directory(folder / "Corvel");
    std::filesystem::create_symlink("../real/connections.json", folder / "Corvel/second.json");
    std::filesystem::create_symlink(folder / "Corvel/second.json", folder / "Corvel/routes.json");
    const RouteStore store(folder / "Corvel/routes.json");
    EXPECT_EQ(store.loadDocument(), documentNamed("Old"));
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(tests::readFile(folder / "real/connections.json"), encode(documentNamed("New")));
    EXPECT_EQ(permissions(folder / "real/connections.json"), std::filesystem::perms(0640));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "Corvel/routes.json"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "Corvel/second.json"));
    EXPECT_FALSE(std::filesystem::is_symlink(folder / "real/connections.json"));
    EXPECT_THAT(entries(folder / "Corvel"), ElementsAre("routes.json", "second.json"));
    EXPECT_THAT(entries(folder / "real"), ElementsAre("connections.json"));
}

TEST(RouteStoreSaving, FollowsASymbolicLinkToAFileThatIsNotThereYet) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "real");
    std::filesystem::create_symlink(folder / "real/connections.json", folder / "routes.json");
    RouteStore(folder / "routes.json").saveDocument(documentNamed("New"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "routes.json"));
    EXPECT_EQ(tests::readFile(folder / "real/connections.json"), encode(documentNamed("New")));
}

TEST(RouteStoreSaving, LeavesTheOldFileIntactWhenTheDiskIsFull) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    store.saveDocument(documentNamed("Old"));
    const auto failure = failureOf([&store] {
        const tests::FileSizeLimit fullDisk(50);
        store.saveDocument(documentNamed("New"));
    });
    EXPECT_EQ(failure, (folder / "routes.json").string() + ": File too large");
    EXPECT_EQ(tests::readFile(folder / "routes.json"), encode(documentNamed("Old")));
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json")) << "nothing temporary is left";
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(store.loadDocument(), documentNamed("New"));
}

TEST(RouteStoreSaving, LeavesNothingBehindWhenTheFirstFileCannotBeWritten) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "Corvel/routes.json");
    const auto failure = failureOf([&store] {
        const tests::FileSizeLimit fullDisk(50);
        store.save({makeRoute()});
    });
    EXPECT_EQ(failure, (folder / "Corvel/routes.json").string() + ": File too large");
    EXPECT_THAT(entries(folder / "Corvel"), IsEmpty());
}

TEST(RouteStoreSaving, FailsWhereAFileStandsInPlaceOfItsFolder) {
    const TemporaryFolder folder;
    writeFile(folder / "blocked", "a file");
    for (const std::string place : {"blocked/routes.json", "blocked/deeper/routes.json"}) {
        const RouteStore store(folder / place);
        const auto failure = failureOf([&store] { store.saveDocument(documentNamed("New")); });
        ASSERT_TRUE(failure.has_value()) << place;
        EXPECT_THAT(*failure, StartsWith((folder / "blocked").string()));
        EXPECT_THAT(*failure, EndsWith(": Not a directory"));
        EXPECT_TRUE(failureOf([&store] { store.save({}); }).has_value());
    }
    EXPECT_EQ(tests::readFile(folder / "blocked"), "a file");
    EXPECT_THAT(entries(folder.path()), ElementsAre("blocked"));
}

TEST(RouteStoreSaving, FailsWhereAFolderStandsInPlaceOfItsFile) {
    const TemporaryFolder folder;
    writeFile(folder / "routes.json/inside", "mine");
    const RouteStore store(folder / "routes.json");
    const auto failure = failureOf([&store] { store.saveDocument(documentNamed("New")); });
    ASSERT_TRUE(failure.has_value());
    EXPECT_THAT(*failure, StartsWith((folder / "routes.json").string() + ": "));
    EXPECT_EQ(tests::readFile(folder / "routes.json/inside"), "mine");
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(RouteStoreSaving, KeepsACopyOfAFileThatCannotBeDecoded) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    writeFile(folder / "routes.json", "damaged \xFF");
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(store.loadDocument(), documentNamed("New"));
    EXPECT_EQ(tests::readFile(folder / "routes.json.unreadable"), "damaged \xFF");
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json", "routes.json.unreadable"));
    store.saveDocument(documentNamed("Newer"));
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json", "routes.json.unreadable"))
        << "a file that can be decoded is not copied";
}

TEST(RouteStoreSaving, KeepsACopyAlsoOfAFileThatWasDamagedBetweenSaves) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    store.saveDocument(documentNamed("Old"));
    const std::string damaged(encode(documentNamed("Old")).size(), '{');
    writeFile(folder / "routes.json", damaged);
    std::filesystem::last_write_time(folder / "routes.json",
                                     std::filesystem::last_write_time(folder / "routes.json") + std::chrono::hours(1));
    store.save({});
    EXPECT_EQ(tests::readFile(folder / "routes.json.unreadable"), damaged);
}

TEST(RouteStoreSaving, NumbersTheCopiesOfFilesThatCannotBeDecoded) {
    const TemporaryFolder folder;
    std::set<std::string> contents;
    for (int count = 1; count <= 12; ++count) {
        const std::string content = "damaged " + std::to_string(count);
        contents.insert(content);
        writeFile(folder / "routes.json", content);
        RouteStore(folder / "routes.json").saveDocument(documentNamed("New"));
    }
    const std::vector<std::string> names = entries(folder.path());
    ASSERT_EQ(names.size(), 13U);
    std::set<std::string> copies;
    for (const std::string& name : names) {
        EXPECT_THAT(name, StartsWith("routes.json"));
        if (name != "routes.json") {
            EXPECT_THAT(name, StartsWith("routes.json.unreadable"));
            copies.insert(tests::readFile(folder / name));
        }
    }
    EXPECT_EQ(copies, contents);
    EXPECT_EQ(tests::readFile(folder / "routes.json.unreadable"), "damaged 1");
}

TEST(RouteStoreSaving, KeepsWhatWasUnreadableEvenWhenTheDiskIsFull) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    const std::string damaged(200, 'x');
    writeFile(folder / "routes.json", damaged);
    const auto failure = failureOf([&store] {
        const tests::FileSizeLimit fullDisk(50);
        store.saveDocument(documentNamed("New"));
    });
    ASSERT_TRUE(failure.has_value());
    EXPECT_THAT(*failure, EndsWith(": File too large"));
    EXPECT_EQ(tests::readFile(folder / "routes.json"), damaged);
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(RouteStoreSaving, LeavesTheLegacyFileAlone) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
    writeFile(folder / "old/routes.json", encode(documentNamed("Older")));
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(store.loadDocument(), documentNamed("New"));
    EXPECT_EQ(tests::readFile(folder / "old/routes.json"), encode(documentNamed("Older")));
}

TEST(RouteStoreSaving, KeepsEveryTextAsItIs) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    const std::string name("In/Out \"\\ \n\t\0\x1F\x7F é漢\U0001F3B9 \u2028"sv);
    store.saveDocument(documentNamed(name));
    EXPECT_EQ(store.loadDocument(), documentNamed(name));
}

TEST(RouteStoreSaving, HandlesManyConnections) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    std::vector<MIDIRoute> routes;
    for (std::uint32_t number = 0; number < 5000; ++number) {
        routes.push_back(makeRoute({.id = makeID(number), .sourceName = "Keys", .channelMode = ChannelMode::force(3)}));
    }
    store.save(routes);
    EXPECT_EQ(store.load(), routes);
}

}  // namespace
}  // namespace corvel
