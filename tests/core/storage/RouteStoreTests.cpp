#include "core/storage/RouteStore.hpp"

#include "core/storage/RouteSetDocumentCoder.hpp"
#include "tests/support/DocumentTexts.hpp"
#include "tests/support/FileSizeLimit.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvel {
namespace {

using RouteSetDocumentCoder::decode;
using RouteSetDocumentCoder::encode;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::entries;
using tests::makeID;
using tests::makeRoute;
using tests::ScopedEnvironment;
using tests::TemporaryFolder;
using tests::writeFile;

/// The only connection of "Studio".
MIDIRoute studioRoute() {
    return makeRoute(
        {.id = makeID(3), .variants = {tests::makeVariant({.id = makeID(4), .sourceID = 5, .destinationID = 6})}});
}

/// Two sets; the second, "Studio", is selected.
MIDIRouteSetDocument stageAndStudio() {
    return {makeID(2), {{makeID(1), "Stage", {}}, {makeID(2), "Studio", {studioRoute()}}}};
}

/// Whether the user has an entry in the user database.
bool hasUserEntry = true;

void expectDefaultDocument(const MIDIRouteSetDocument& document) {
    ASSERT_EQ(document.routeSets.size(), 1U);
    EXPECT_EQ(document.routeSets.front().name, "Default");
    EXPECT_THAT(document.routeSets.front().routes, IsEmpty());
    EXPECT_NE(document.routeSets.front().id, UUID{});
    EXPECT_EQ(document.selectedSetID, document.routeSets.front().id);
}

}  // namespace
}  // namespace corvel

/// Replaces the system's function in this program, to simulate a user without an entry.
extern "C" int getpwuid_r(uid_t user, passwd*, char*, size_t, passwd** found) {
    *found = corvel::hasUserEntry ? ::getpwuid(user) : nullptr;
    return 0;
}

namespace corvel {
namespace {

TEST(RouteStore, KeepsItsFileInTheDataFolderOfTheEnvironment) {
    const ScopedEnvironment dataFolder("XDG_DATA_HOME", "/some/data");
    const ScopedEnvironment home("HOME", "/home/player");
    EXPECT_EQ(RouteStore::defaultFileURL(), "/some/data/Corvel/routes.json");
}

TEST(RouteStore, KeepsItsFileInTheHomeFolderOtherwise) {
    const ScopedEnvironment home("HOME", "/home/player");
    for (const std::optional<std::string>& dataFolder :
         {std::optional<std::string>(), std::optional<std::string>(""), std::optional<std::string>("relative/data")}) {
        const ScopedEnvironment variable("XDG_DATA_HOME", dataFolder);
        EXPECT_EQ(RouteStore::defaultFileURL(), "/home/player/.local/share/Corvel/routes.json");
    }
}

TEST(RouteStore, TakesTheUsersOwnHomeFolderWhenTheEnvironmentNamesNone) {
    const ScopedEnvironment dataFolder("XDG_DATA_HOME", std::nullopt);
    const ScopedEnvironment home("HOME", std::nullopt);
    const passwd* user = ::getpwuid(::getuid());
    if (user == nullptr) {
        GTEST_SKIP() << "the user has no entry";
    }
    EXPECT_EQ(RouteStore::defaultFileURL(), std::filesystem::path(user->pw_dir) / ".local/share/Corvel/routes.json");
}

TEST(RouteStore, KeepsItsFileInTheTemporaryFolderForAUserWithoutAHomeFolder) {
    const ScopedEnvironment dataFolder("XDG_DATA_HOME", std::nullopt);
    const ScopedEnvironment home("HOME", std::nullopt);
    const ScopedEnvironment temporary("TMPDIR", "/var");
    hasUserEntry = false;
    EXPECT_EQ(RouteStore::defaultFileURL(), "/var/Corvel/routes.json");
    hasUserEntry = true;
}

TEST(RouteStore, KnowsItsPlace) {
    EXPECT_EQ(RouteStore("/some/place.json").fileURL(), "/some/place.json");
}

TEST(RouteStore, LoadsOneEmptySetAtTheFirstStartAndWritesNothing) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "Corvel/routes.json", folder / "MIDIRouter/routes.json");
    expectDefaultDocument(store.loadDocument());
    EXPECT_THAT(store.load(), IsEmpty());
    EXPECT_NE(store.loadDocument().selectedSetID, store.loadDocument().selectedSetID);
    EXPECT_THAT(entries(folder.path()), IsEmpty());
}

TEST(RouteStore, LoadsTheCurrentFile) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    writeFile(folder / "routes.json", encode(stageAndStudio()));
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
    EXPECT_THAT(store.load(), ElementsAre(studioRoute()));
}

TEST(RouteStore, ReadsTheDiskAtEveryLoad) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    writeFile(folder / "routes.json", encode(stageAndStudio()));
    EXPECT_EQ(store.loadDocument().routeSets.size(), 2U);
    writeFile(folder / "routes.json", tests::documentText().text());
    EXPECT_EQ(store.loadDocument().routeSets.size(), 1U);
    std::filesystem::remove(folder / "routes.json");
    expectDefaultDocument(store.loadDocument());
}

TEST(RouteStore, NormalisesWhatItLoadsAndLeavesTheFile) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    const std::string empty = tests::documentText({}).text();
    writeFile(folder / "routes.json", empty);
    expectDefaultDocument(store.loadDocument());
    EXPECT_EQ(tests::readFile(folder / "routes.json"), empty);
    writeFile(folder / "routes.json",
              tests::documentText().with("selectedSetID", tests::inQuotes(tests::kUnknownIDText)).text());
    EXPECT_EQ(store.loadDocument().selectedSetID, UUID::parse(tests::kSetIDText));
}

TEST(RouteStore, LoadsTheOlderArrayAndRewritesItOnlyWhenSaving) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    const std::string older = tests::arrayText({tests::routeText().text()});
    writeFile(folder / "routes.json", older);
    const MIDIRouteSetDocument document = store.loadDocument();
    ASSERT_EQ(document.routeSets.size(), 1U);
    EXPECT_EQ(document.routeSets.front().name, "Default");
    EXPECT_EQ(document.selectedSetID, document.routeSets.front().id);
    ASSERT_EQ(store.load().size(), 1U);
    EXPECT_EQ(store.load().front().id, UUID::parse(tests::kRouteIDText));
    EXPECT_EQ(tests::readFile(folder / "routes.json"), older);
    store.saveDocument(document);
    EXPECT_EQ(tests::readFile(folder / "routes.json"), encode(document));
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json")) << "an older file can be decoded: no copy is kept";
}

TEST(RouteStore, LoadsOneEmptySetFromAnUnreadableFileAndLeavesIt) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    for (const std::string content : {"", "{", "not json", "[5]", "{\"routeSets\":[]}", "\xFF\xFE"}) {
        writeFile(folder / "routes.json", content);
        expectDefaultDocument(store.loadDocument());
        EXPECT_EQ(tests::readFile(folder / "routes.json"), content);
    }
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(RouteStore, LoadsOneEmptySetWhereAFolderStandsInItsPlace) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "routes.json");
    expectDefaultDocument(RouteStore(folder / "routes.json").loadDocument());
}

/// The problem that a store of this file reports, without the path.
std::optional<std::string> loadProblem(const std::filesystem::path& file,
                                       RouteStore::MissingFile missing = RouteStore::MissingFile::isNormal) {
    const RouteStore store(file, std::nullopt, missing);
    static_cast<void>(store.loadDocument());
    const std::optional<std::string>& problem = store.loadProblem();
    const std::string start = file.string() + ": ";
    EXPECT_EQ(problem.value_or(start).substr(0, start.size()), start);
    return problem ? std::optional(problem->substr(start.size())) : std::nullopt;
}

TEST(RouteStore, HasNoProblemWithADocumentOrAFirstStart) {
    const TemporaryFolder folder;
    EXPECT_EQ(loadProblem(folder / "none/routes.json"), std::nullopt);
    writeFile(folder / "routes.json", encode(stageAndStudio()));
    EXPECT_EQ(loadProblem(folder / "routes.json"), std::nullopt);
    writeFile(folder / "routes.json", "[]");
    EXPECT_EQ(loadProblem(folder / "routes.json"), std::nullopt);
}

TEST(RouteStore, TellsWhyItCouldNotLoad) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "routes.json";
    EXPECT_EQ(loadProblem(file, RouteStore::MissingFile::isAProblem),
              "No such file or directory; an empty set is used");
    EXPECT_EQ(loadProblem(folder.path()), "Is a directory; an empty set is used");
    writeFile(file, "{\n  \"routeSets\" : oops\n}");
    EXPECT_EQ(loadProblem(file), "line 2: not valid JSON; an empty set is used");
    writeFile(file, "");
    EXPECT_EQ(loadProblem(file), "line 1: not valid JSON; an empty set is used");
    writeFile(file, R"({"selectedSetID": "no", "routeSets": 5})");
    EXPECT_EQ(loadProblem(file), "routeSets: expected an array; an empty set is used");
    writeFile(file, R"([{"id": 5}])");
    EXPECT_EQ(loadProblem(file), "[0].id: expected a UUID; an empty set is used");
    std::filesystem::resize_file(file, 67'108'865);
    EXPECT_EQ(loadProblem(file), "larger than 64 MB; an empty set is used");
}

TEST(RouteStore, TellsThatItsLinkLeadsNowhere) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("disk/routes.json", folder / "routes.json");
    EXPECT_EQ(loadProblem(folder / "routes.json"), "No such file or directory; an empty set is used");
}

TEST(RouteStore, TellsThatTheOlderInstallationsSetsAreUsed) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
    writeFile(folder / "old/routes.json", encode(stageAndStudio()));
    writeFile(folder / "new/routes.json", "damaged");
    static_cast<void>(store.loadDocument());
    EXPECT_EQ(store.loadProblem(), (folder / "new/routes.json").string() +
                                       ": line 1: not valid JSON; the older installation's sets are used");
    std::filesystem::remove(folder / "new/routes.json");
    static_cast<void>(store.loadDocument());
    EXPECT_EQ(store.loadProblem(), std::nullopt);
}

TEST(RouteStoreMigration, MovesTheLegacyFileToTheCurrentPlace) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/deeper/routes.json", folder / "old/routes.json");
    writeFile(folder / "old/routes.json", encode(stageAndStudio()));
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
    EXPECT_EQ(tests::readFile(folder / "new/deeper/routes.json"), encode(stageAndStudio()));
    EXPECT_THAT(entries(folder / "new/deeper"), ElementsAre("routes.json"));
    EXPECT_THAT(entries(folder.path()), ElementsAre("new"));
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
}

TEST(RouteStoreMigration, WritesTheNormalisedDocument) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
    writeFile(folder / "old/routes.json",
              tests::documentText().with("selectedSetID", tests::inQuotes(tests::kUnknownIDText)).text());
    const MIDIRouteSetDocument document = store.loadDocument();
    EXPECT_EQ(document.selectedSetID, UUID::parse(tests::kSetIDText));
    EXPECT_EQ(tests::readFile(folder / "new/routes.json"), encode(document));
}

TEST(RouteStoreMigration, WritesAnOlderArrayAsADocument) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
    writeFile(folder / "old/routes.json", tests::arrayText({tests::routeText().text()}));
    const std::vector<MIDIRoute> routes = store.load();
    ASSERT_EQ(routes.size(), 1U);
    const MIDIRouteSetDocument written = decode(tests::readFile(folder / "new/routes.json"));
    EXPECT_EQ(written.routeSets.at(0).name, "Default");
    EXPECT_EQ(written.routeSets.at(0).routes, routes);
    EXPECT_FALSE(std::filesystem::exists(folder / "old"));
}

TEST(RouteStoreMigration, KeepsALegacyFolderThatHoldsSomethingElse) {
    for (const std::string other : {"notes.txt", ".hidden", "deeper/file"}) {
        const TemporaryFolder folder;
        const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
        writeFile(folder / "old/routes.json", encode(stageAndStudio()));
        writeFile(folder / ("old/" + other), "mine");
        EXPECT_EQ(store.loadDocument(), stageAndStudio());
        EXPECT_TRUE(std::filesystem::exists(folder / "new/routes.json"));
        EXPECT_FALSE(std::filesystem::exists(folder / "old/routes.json"));
        EXPECT_EQ(tests::readFile(folder / ("old/" + other)), "mine");
    }
}

TEST(RouteStoreMigration, KeepsAnEmptyFolderInsideTheLegacyFolder) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
    writeFile(folder / "old/routes.json", encode(stageAndStudio()));
    std::filesystem::create_directory(folder / "old/empty");
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
    EXPECT_THAT(entries(folder / "old"), ElementsAre("empty"));
}

TEST(RouteStoreMigration, WorksWithinOneFolder) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json", folder / "older.json");
    writeFile(folder / "older.json", encode(stageAndStudio()));
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(RouteStoreMigration, IgnoresTheLegacyFileBesideACurrentOne) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
    const std::string current = tests::documentText().text();
    writeFile(folder / "new/routes.json", current);
    writeFile(folder / "old/routes.json", encode(stageAndStudio()));
    EXPECT_EQ(store.loadDocument(), decode(current));
    EXPECT_EQ(tests::readFile(folder / "new/routes.json"), current);
    EXPECT_EQ(tests::readFile(folder / "old/routes.json"), encode(stageAndStudio()));
}

TEST(RouteStoreMigration, TouchesNeitherFileWhenTheCurrentOneIsUnreadable) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
    writeFile(folder / "new/routes.json", "damaged");
    writeFile(folder / "old/routes.json", encode(stageAndStudio()));
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
    EXPECT_EQ(tests::readFile(folder / "new/routes.json"), "damaged");
    EXPECT_EQ(tests::readFile(folder / "old/routes.json"), encode(stageAndStudio()));
    EXPECT_THAT(entries(folder / "new"), ElementsAre("routes.json"));
    EXPECT_THAT(entries(folder / "old"), ElementsAre("routes.json"));
}

TEST(RouteStoreMigration, LeavesAnUnreadableLegacyFile) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
    writeFile(folder / "old/routes.json", "damaged");
    expectDefaultDocument(store.loadDocument());
    EXPECT_EQ(tests::readFile(folder / "old/routes.json"), "damaged");
    EXPECT_THAT(entries(folder.path()), ElementsAre("old"));
}

TEST(RouteStoreMigration, IsTriedAgainWhenItsFolderCouldNotBeMade) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
    writeFile(folder / "old/routes.json", encode(stageAndStudio()));
    writeFile(folder / "new", "a file where the folder is to be");
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
    EXPECT_EQ(tests::readFile(folder / "old/routes.json"), encode(stageAndStudio()));
    EXPECT_EQ(tests::readFile(folder / "new"), "a file where the folder is to be");
    std::filesystem::remove(folder / "new");
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
    EXPECT_TRUE(std::filesystem::exists(folder / "new/routes.json"));
    EXPECT_FALSE(std::filesystem::exists(folder / "old"));
}

TEST(RouteStoreMigration, IsTriedAgainWhenItsFileCouldNotBeWritten) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "new/routes.json", folder / "old/routes.json");
    writeFile(folder / "old/routes.json", encode(stageAndStudio()));
    const MIDIRouteSetDocument document = [&store] {
        const tests::FileSizeLimit fullDisk(16);
        return store.loadDocument();
    }();
    EXPECT_EQ(document, stageAndStudio());
    EXPECT_EQ(tests::readFile(folder / "old/routes.json"), encode(stageAndStudio()));
    EXPECT_THAT(entries(folder / "new"), IsEmpty());
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
    EXPECT_TRUE(std::filesystem::exists(folder / "new/routes.json"));
    EXPECT_FALSE(std::filesystem::exists(folder / "old"));
}

TEST(RouteStoreMigration, TakesOverTheFileOfAnOlderInstallationByDefault) {
    const TemporaryFolder folder;
    const ScopedEnvironment dataFolder("XDG_DATA_HOME", folder.path().string());
    writeFile(folder / "MIDIRouter/routes.json", encode(stageAndStudio()));
    const RouteStore store(RouteStore::defaultFileURL());
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
    EXPECT_THAT(entries(folder.path()), ElementsAre("Corvel"));
    EXPECT_THAT(entries(folder / "Corvel"), ElementsAre("routes.json"));
}

TEST(RouteStoreMigration, TakesAGivenLegacyFileInsteadOfTheUsualOne) {
    const TemporaryFolder folder;
    const ScopedEnvironment dataFolder("XDG_DATA_HOME", folder.path().string());
    writeFile(folder / "MIDIRouter/routes.json", tests::documentText().text());
    writeFile(folder / "given/older.json", encode(stageAndStudio()));
    const RouteStore store(RouteStore::defaultFileURL(), folder / "given/older.json");
    EXPECT_EQ(store.loadDocument(), stageAndStudio());
    EXPECT_THAT(entries(folder.path()), ElementsAre("Corvel", "MIDIRouter"));
}

TEST(RouteStoreMigration, NeverHappensToAFileElsewhereUnlessAskedFor) {
    const TemporaryFolder folder;
    const ScopedEnvironment dataFolder("XDG_DATA_HOME", folder.path().string());
    writeFile(folder / "MIDIRouter/routes.json", encode(stageAndStudio()));
    const RouteStore store(folder / "elsewhere/routes.json");
    expectDefaultDocument(store.loadDocument());
    EXPECT_THAT(entries(folder.path()), ElementsAre("MIDIRouter"));
    EXPECT_EQ(tests::readFile(folder / "MIDIRouter/routes.json"), encode(stageAndStudio()));
}

}  // namespace
}  // namespace corvel
