#include "core/storage/RouteStore.hpp"

#include "core/storage/RouteSetDocumentCoder.hpp"
#include "tests/support/RouteBuilders.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace corvel {
namespace {

using RouteSetDocumentCoder::encode;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using tests::entries;
using tests::makeID;
using tests::TemporaryFolder;
using tests::writeFile;

/// Whether the file system supports hard links.
bool hasHardLinks = true;

MIDIRouteSetDocument documentNamed(const std::string& name) {
    return {makeID(1), {{makeID(1), name, {}}}};
}

/// Replaces the file by a new inode with this content, as most programs save.
void replaceFile(const std::filesystem::path& file, const std::string& content) {
    const std::filesystem::path other = file.string() + ".other";
    writeFile(other, content);
    std::filesystem::rename(other, file);
}

/// Root ignores file permissions. In this scope they apply.
class WithoutPrivileges {
public:
    explicit WithoutPrivileges(const std::filesystem::path& folder) : user_(::geteuid()) {
        if (user_ == 0) {
            constexpr ::uid_t kNobody = 65534;
            std::filesystem::permissions(folder, std::filesystem::perms::all);
            EXPECT_EQ(::seteuid(kNobody), 0);
        }
    }
    ~WithoutPrivileges() { EXPECT_EQ(::seteuid(user_), 0); }
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

private:
    ::uid_t user_;
};

}  // namespace
}  // namespace corvel

/// Replaces the system's function in this program, to simulate a file system without hard links.
extern "C" int link(const char* from, const char* to) noexcept {
    if (!corvel::hasHardLinks) {
        errno = EPERM;
        return -1;
    }
    return ::linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}

namespace corvel {
namespace {

/// Simulates a file system without hard links until the end of the scope.
class WithoutHardLinks {
public:
    WithoutHardLinks() { hasHardLinks = false; }
    ~WithoutHardLinks() { hasHardLinks = true; }
    WithoutHardLinks(const WithoutHardLinks&) = delete;
    WithoutHardLinks& operator=(const WithoutHardLinks&) = delete;
};

TEST(RouteStoreKeeping, KeepsNothingOfTheFileThatWasLoaded) {
    const TemporaryFolder folder;
    writeFile(folder / "routes.json", encode(documentNamed("Songs")));
    const RouteStore store(folder / "routes.json");
    static_cast<void>(store.loadDocument());
    store.saveDocument(documentNamed("New"));
    store.saveDocument(documentNamed("Newer"));
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(RouteStoreKeeping, KeepsNothingOfTheSameContentInAnotherFile) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    store.saveDocument(documentNamed("Songs"));
    replaceFile(folder / "routes.json", encode(documentNamed("Songs")));
    store.saveDocument(documentNamed("New"));
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(RouteStoreKeeping, KeepsAnEditMadeMeanwhile) {
    const TemporaryFolder folder;
    writeFile(folder / "routes.json", encode(documentNamed("Songs")));
    const RouteStore store(folder / "routes.json");
    static_cast<void>(store.loadDocument());
    writeFile(folder / "routes.json", encode(documentNamed("Edited")));
    store.saveDocument(documentNamed("New"));
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json", "routes.json.kept"));
    EXPECT_EQ(tests::readFile(folder / "routes.json.kept"), encode(documentNamed("Edited")));
    EXPECT_EQ(tests::readFile(folder / "routes.json"), encode(documentNamed("New")));
}

TEST(RouteStoreKeeping, KeepsAFileThatAppearsAfterTheStart) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    static_cast<void>(store.loadDocument());
    writeFile(folder / "routes.json", encode(documentNamed("Songs")));
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(tests::readFile(folder / "routes.json.kept"), encode(documentNamed("Songs")));
}

TEST(RouteStoreKeeping, KeepsAFileThatWasAwayAtTheLastLoad) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    store.saveDocument(documentNamed("Songs"));
    std::filesystem::rename(folder / "routes.json", folder / "away");
    static_cast<void>(store.loadDocument());
    std::filesystem::rename(folder / "away", folder / "routes.json");
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(tests::readFile(folder / "routes.json.kept"), encode(documentNamed("Songs")));
}

TEST(RouteStoreKeeping, KeepsAFileThatCouldNotBeReadAtTheStart) {
    const TemporaryFolder folder;
    const WithoutPrivileges user(folder.path());
    writeFile(folder / "routes.json", encode(documentNamed("Songs")));
    std::filesystem::permissions(folder / "routes.json", std::filesystem::perms::none);
    const RouteStore store(folder / "routes.json");
    static_cast<void>(store.loadDocument());
    std::filesystem::permissions(folder / "routes.json", std::filesystem::perms(0600));
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(tests::readFile(folder / "routes.json.kept"), encode(documentNamed("Songs")));
    EXPECT_EQ(store.loadDocument(), documentNamed("New"));
}

TEST(RouteStoreKeeping, SetsAFileAsideThatCannotBeRead) {
    const TemporaryFolder folder;
    const WithoutPrivileges user(folder.path());
    writeFile(folder / "routes.json", encode(documentNamed("Songs")));
    std::filesystem::permissions(folder / "routes.json", std::filesystem::perms::none);
    const RouteStore store(folder / "routes.json");
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(store.loadDocument(), documentNamed("New"));
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json", "routes.json.unreadable"));
    std::filesystem::permissions(folder / "routes.json.unreadable", std::filesystem::perms(0600));
    EXPECT_EQ(tests::readFile(folder / "routes.json.unreadable"), encode(documentNamed("Songs")));
}

TEST(RouteStoreKeeping, SetsAFileAsideThatBelongsToAnotherUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file to another user";
    }
    const TemporaryFolder folder;
    writeFile(folder / "routes.json", encode(documentNamed("Songs")));
    std::filesystem::permissions(folder / "routes.json", std::filesystem::perms(0600));
    {
        const WithoutPrivileges user(folder.path());
        const RouteStore store(folder / "routes.json");
        store.saveDocument(documentNamed("New"));
        EXPECT_EQ(store.loadDocument(), documentNamed("New"));
    }
    EXPECT_EQ(tests::readFile(folder / "routes.json.unreadable"), encode(documentNamed("Songs")));
}

TEST(RouteStoreKeeping, KeepsFilesWhereThereAreNoHardLinks) {
    const TemporaryFolder folder;
    const WithoutHardLinks fileSystem;
    const RouteStore store(folder / "routes.json");
    for (const std::string& content : {encode(documentNamed("One")), encode(documentNamed("Two")), std::string("no")}) {
        writeFile(folder / "routes.json", content);
        store.saveDocument(documentNamed("New"));
        EXPECT_EQ(tests::readFile(folder / "routes.json"), encode(documentNamed("New")));
    }
    EXPECT_THAT(entries(folder.path()),
                ElementsAre("routes.json", "routes.json.kept", "routes.json.kept-2", "routes.json.unreadable"));
    EXPECT_EQ(tests::readFile(folder / "routes.json.kept-2"), encode(documentNamed("Two")));
}

TEST(RouteStoreKeeping, PutsTheOldFileBackWhereThereAreNoHardLinksAndTheNewOneFails) {
    const TemporaryFolder folder;
    const WithoutHardLinks fileSystem;
    writeFile(folder / "routes.json", "old");
    {
        AtomicFile replacement(folder / "routes.json", "new");
        replacement.keepOld(folder / "routes.json.kept");
        EXPECT_EQ(tests::readFile(folder / "routes.json.kept"), "old");
    }
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
    EXPECT_EQ(tests::readFile(folder / "routes.json"), "old");
}

TEST(RouteStoreKeeping, ForgetsTheSecondNameIfTheNewFileFails) {
    const TemporaryFolder folder;
    writeFile(folder / "routes.json", "old");
    {
        AtomicFile replacement(folder / "routes.json", "new");
        replacement.keepOld(folder / "routes.json.kept");
        EXPECT_EQ(tests::readFile(folder / "routes.json"), "old") << "the file is never away";
    }
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(RouteStoreKeeping, NeverReplacesAnotherFileByTheOldOne) {
    const TemporaryFolder folder;
    writeFile(folder / "routes.json", "old");
    writeFile(folder / "routes.json.kept", "mine");
    const auto keep = [&] {
        AtomicFile replacement(folder / "routes.json", "new");
        replacement.keepOld(folder / "routes.json.kept");
    };
    EXPECT_THROW(keep(), std::system_error);
    const WithoutHardLinks fileSystem;
    EXPECT_THROW(keep(), std::system_error);
    EXPECT_EQ(tests::readFile(folder / "routes.json"), "old");
    EXPECT_EQ(tests::readFile(folder / "routes.json.kept"), "mine");
}

TEST(RouteStoreKeeping, NamesTheCopy) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    EXPECT_EQ(store.saveDocument(documentNamed("New")), std::nullopt);
    EXPECT_EQ(store.saveDocument(documentNamed("New")), std::nullopt);
    writeFile(folder / "routes.json", encode(documentNamed("Songs")));
    EXPECT_EQ(store.saveDocument(documentNamed("New")), folder / "routes.json.kept");
    writeFile(folder / "routes.json", "oops");
    EXPECT_EQ(store.saveDocument(documentNamed("New")), folder / "routes.json.unreadable");
    writeFile(folder / "routes.json", encode(documentNamed("Songs")));
    EXPECT_EQ(store.saveDocument(documentNamed("New")), folder / "routes.json.kept") << "kept before";
}

TEST(RouteStoreKeeping, KeepsTheSameContentOnlyOnce) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    for (int round = 0; round < 5; ++round) {
        for (const std::string& content : {encode(documentNamed("One")), encode(documentNamed("Two"))}) {
            writeFile(folder / "routes.json", content);
            store.saveDocument(documentNamed("New"));
        }
    }
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json", "routes.json.kept", "routes.json.kept-2"));
}

TEST(RouteStoreKeeping, KeepsTheNewestTwenty) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    for (int number = 1; number <= 23; ++number) {
        writeFile(folder / "routes.json", encode(documentNamed(std::to_string(number))));
        store.saveDocument(documentNamed("New"));
    }
    EXPECT_THAT(entries(folder.path()), SizeIs(21));
    EXPECT_FALSE(std::filesystem::exists(folder / "routes.json.kept-3"));
    EXPECT_EQ(tests::readFile(folder / "routes.json.kept-4"), encode(documentNamed("4")));
    EXPECT_EQ(tests::readFile(folder / "routes.json.kept-23"), encode(documentNamed("23")));
}

TEST(RouteStoreKeeping, LeavesFilesAloneWhoseNamesAreOnlySimilar) {
    const TemporaryFolder folder;
    const std::vector<std::string> names{"other.json.kept-99",  "routes.json.kept-",        "routes.json.kept-07",
                                         "routes.json.kept-1",  "routes.json.kept-2x",      "routes.json.kept-old",
                                         "routes.json.kept.99", "routes.json.unreadable-99"};
    for (const std::string& name : names) {
        writeFile(folder / name, "mine");
    }
    const RouteStore store(folder / "routes.json");
    for (int number = 1; number <= 21; ++number) {
        writeFile(folder / "routes.json", encode(documentNamed(std::to_string(number))));
        store.saveDocument(documentNamed("New"));
    }
    for (const std::string& name : names) {
        EXPECT_EQ(tests::readFile(folder / name), "mine") << name;
    }
    EXPECT_TRUE(std::filesystem::exists(folder / "routes.json.kept-21"));
}

TEST(RouteStoreKeeping, KeepsWhatASymbolicLinkLeadsToBesideIt) {
    const TemporaryFolder folder;
    writeFile(folder / "real/connections.json", encode(documentNamed("Songs")));
    std::filesystem::create_directory(folder / "Corvel");
    std::filesystem::create_symlink("../real/connections.json", folder / "Corvel/routes.json");
    RouteStore(folder / "Corvel/routes.json").saveDocument(documentNamed("New"));
    EXPECT_THAT(entries(folder / "Corvel"), ElementsAre("routes.json"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "Corvel/routes.json"));
    EXPECT_THAT(entries(folder / "real"), ElementsAre("connections.json", "connections.json.kept"));
    EXPECT_EQ(tests::readFile(folder / "real/connections.json.kept"), encode(documentNamed("Songs")));
}

TEST(RouteStoreKeeping, ReplacesNothingThatItCannotKeep) {
    const TemporaryFolder folder;
    const std::string name(252, 'x');
    writeFile(folder / name, encode(documentNamed("Songs")));
    const RouteStore store(folder / name);
    EXPECT_THROW(store.saveDocument(documentNamed("New")), RouteStoreError) << "the copy's name is too long";
    EXPECT_THAT(entries(folder.path()), ElementsAre(name));
    EXPECT_EQ(store.loadDocument(), documentNamed("Songs"));
}

TEST(RouteStoreKeeping, SetsAHugeFileAsideWithoutReadingIt) {
    const TemporaryFolder folder;
    writeFile(folder / "routes.json", encode(documentNamed("Songs")));
    constexpr std::uintmax_t kTerabyte = std::uintmax_t(1) << 40U;
    std::filesystem::resize_file(folder / "routes.json", kTerabyte);
    const RouteStore store(folder / "routes.json");
    EXPECT_EQ(store.loadDocument().routeSets.at(0).name, "Default");
    EXPECT_EQ(store.loadProblem(), (folder / "routes.json").string() + ": larger than 64 MB; an empty set is used");
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(store.loadDocument(), documentNamed("New"));
    EXPECT_EQ(std::filesystem::file_size(folder / "routes.json.unreadable"), kTerabyte);
}

TEST(RouteStoreKeeping, ReadsUpTo64Megabytes) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    const std::string document = encode(documentNamed("Songs"));
    writeFile(folder / "routes.json", document + std::string(67'108'864 - document.size(), ' '));
    EXPECT_EQ(store.loadDocument(), documentNamed("Songs"));
    writeFile(folder / "routes.json", document + std::string(67'108'865 - document.size(), ' '));
    EXPECT_EQ(store.loadDocument().routeSets.at(0).name, "Default");
}

TEST(RouteStoreKeeping, WritesNothingThatItWouldNotRead) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    std::string name(67'108'864 - encode(documentNamed("")).size(), 'x');
    store.saveDocument(documentNamed(name));
    EXPECT_EQ(std::filesystem::file_size(folder / "routes.json"), 67'108'864U);
    name += 'x';
    EXPECT_THROW(store.saveDocument(documentNamed(name)), RouteStoreError);
    EXPECT_EQ(std::filesystem::file_size(folder / "routes.json"), 67'108'864U);
}

TEST(RouteStoreKeeping, RemovesTemporaryFilesOfDeadProcessesAtTheStartAndWhenSaving) {
    const TemporaryFolder folder;
    const RouteStore store(folder / "routes.json");
    const auto leave = [&] {
        writeFile(folder / ".corvel-9F0E8D7C-6B5A-4938-8271-605F4E3D2C1B.tmp", "cut off");
        writeFile(folder / ".corvel-A1A0B5C0-4D09-4E6B-8C00-112233445599.tmp", "");
        std::filesystem::permissions(folder / ".corvel-A1A0B5C0-4D09-4E6B-8C00-112233445599.tmp",
                                     std::filesystem::perms(0444));
    };
    leave();
    static_cast<void>(store.loadDocument());
    EXPECT_THAT(entries(folder.path()), IsEmpty());
    leave();
    store.saveDocument(documentNamed("New"));
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(RouteStoreKeeping, LeavesATemporaryFileAloneThatIsStillWritten) {
    const TemporaryFolder folder;
    const AtomicFile living(folder / "routes.json", "being written");
    const std::vector<std::string> names = entries(folder.path());
    ASSERT_THAT(names, SizeIs(1));
    const RouteStore store(folder / "routes.json");
    static_cast<void>(store.loadDocument());
    store.saveDocument(documentNamed("New"));
    EXPECT_EQ(tests::readFile(folder / names.front()), "being written");
}

TEST(RouteStoreKeeping, LeavesOtherHiddenFilesAlone) {
    const TemporaryFolder folder;
    const std::vector<std::string> names{".corvel-.tmp", ".corvel-9F0E8D7C-6B5A-4938-8271-605F4E3D2C1B.tmp~",
                                         ".corvel-notes.tmp"};
    for (const std::string& name : names) {
        writeFile(folder / name, "mine");
    }
    std::filesystem::create_directory(folder / ".corvel-A1A0B5C0-4D09-4E6B-8C00-112233445599.tmp");
    std::filesystem::create_symlink(".corvel-notes.tmp", folder / ".corvel-A1A0B5C0-4D09-4E6B-8C00-112233445500.tmp");
    ASSERT_EQ(::mkfifo((folder / ".corvel-A1A0B5C0-4D09-4E6B-8C00-112233445511.tmp").c_str(), 0600), 0);
    static_cast<void>(RouteStore(folder / "routes.json").loadDocument());
    EXPECT_THAT(entries(folder.path()), SizeIs(6));
}

}  // namespace
}  // namespace corvel
