#include "core/storage/AtomicFile.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace corvel {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;
using tests::entries;
using tests::TemporaryFolder;
using tests::writeFile;

/// Whether every change of permissions is refused, as by a file system without permissions.
bool refusesPermissions = false;

/// The error of an attempt to lock a file for writing, or 0.
std::function<int()> lockError = [] { return 0; };

/// Sets `lockError` until the end of the scope.
class WithLockError {
public:
    explicit WithLockError(std::function<int()> error) { lockError = std::move(error); }
    ~WithLockError() {
        lockError = [] { return 0; };
    }
    WithLockError(const WithLockError&) = delete;
    WithLockError& operator=(const WithLockError&) = delete;
};

std::size_t openFileCount() {
    return entries("/proc/self/fd").size();
}

std::error_code errorOf(const std::function<void()>& work) {
    try {
        work();
        return {};
    } catch (const std::system_error& error) {
        return error.code();
    }
}

void replace(const std::filesystem::path& file) {
    AtomicFile replacement(file, "new");
    replacement.commit();
}

/// The paths that this program has synchronised to the disk, in order.
std::vector<std::string>& syncedPaths() {
    static std::vector<std::string> paths;
    return paths;
}

}  // namespace
}  // namespace corvel

/// Replaces the system's function in this program, because nothing else shows that it was called.
extern "C" int fsync(int descriptor) {
    corvel::syncedPaths().push_back(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor)));
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

/// Replaces the system's function in this program.
extern "C" int fchmod(int descriptor, mode_t mode) noexcept {
    if (corvel::refusesPermissions) {
        errno = EPERM;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fchmod, descriptor, mode));
}

/// Replaces the system's function in this program.
extern "C" int flock(int descriptor, int operation) noexcept {
    const int error = operation == LOCK_EX ? corvel::lockError() : 0;
    if (error != 0) {
        errno = error;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_flock, descriptor, operation));
}

namespace corvel {
namespace {

TEST(AtomicFile, PreparesTheContentBesideTheFile) {
    const TemporaryFolder folder;
    writeFile(folder / "routes.json", "old");
    const AtomicFile file(folder / "routes.json", "new");
    EXPECT_THAT(entries(folder.path()),
                ElementsAre(testing::AllOf(StartsWith(".corvel-"), EndsWith(".tmp")), "routes.json"));
    EXPECT_EQ(tests::readFile(folder / "routes.json"), "old");
}

TEST(AtomicFile, BringsTheContentToTheDiskBeforeItsNameAndTheNameAtOnce) {
    const TemporaryFolder folder;
    syncedPaths().clear();
    AtomicFile file(folder / "routes.json", "new");
    EXPECT_THAT(syncedPaths(), ElementsAre(folder / entries(folder.path()).front()));
    syncedPaths().clear();
    file.commit();
    EXPECT_THAT(syncedPaths(), ElementsAre(folder.path()));
}

TEST(AtomicFile, BringsTheSecondNameOfTheOldFileToTheDisk) {
    const TemporaryFolder folder;
    writeFile(folder / "routes.json", "old");
    AtomicFile file(folder / "routes.json", "new");
    syncedPaths().clear();
    file.keepOld(folder / "routes.json.kept");
    EXPECT_THAT(syncedPaths(), ElementsAre(folder.path()));
}

TEST(AtomicFile, LeavesNothingBehindIfItIsNeverPutInPlace) {
    const TemporaryFolder folder;
    { const AtomicFile file(folder / "routes.json", "new"); }
    EXPECT_THAT(entries(folder.path()), IsEmpty());
}

TEST(AtomicFile, LeavesNothingBehindIfItCannotBePutInPlace) {
    const TemporaryFolder folder;
    {
        AtomicFile file(folder / "routes.json", "new");
        std::filesystem::create_directory(folder / "routes.json");
        try {
            file.commit();
            ADD_FAILURE() << "a folder was replaced";
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code(), std::errc::is_a_directory);
        }
    }
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(AtomicFile, ClosesWhatItHasOpened) {
    const TemporaryFolder folder;
    writeFile(folder / ".corvel-9F0E8D7C-6B5A-4938-8271-605F4E3D2C1B.tmp", "cut off");
    const std::size_t before = openFileCount();
    AtomicFile::removeAbandoned(folder / "routes.json");
    replace(folder / "routes.json");
    EXPECT_EQ(readFile(folder / "routes.json", 3), "new");
    EXPECT_EQ(errorOf([&] { static_cast<void>(readFile(folder.path(), 3)); }), std::errc::is_a_directory);
    EXPECT_EQ(openFileCount(), before);
}

TEST(AtomicFile, ChangesPermissionsOnlyIfTheyDiffer) {
    const TemporaryFolder folder;
    const ::mode_t mask = ::umask(022);
    writeFile(folder / "routes.json", "old");
    refusesPermissions = true;
    EXPECT_EQ(errorOf([&] { replace(folder / "routes.json"); }), std::error_code());
    EXPECT_EQ(tests::readFile(folder / "routes.json"), "new");
    std::filesystem::permissions(folder / "routes.json", std::filesystem::perms(0666));
    EXPECT_EQ(errorOf([&] { replace(folder / "routes.json"); }), std::errc::operation_not_permitted);
    refusesPermissions = false;
    ::umask(mask);
    EXPECT_THAT(entries(folder.path()), ElementsAre("routes.json"));
}

TEST(AtomicFile, IsLockedAlthoughASignalInterruptsIt) {
    const TemporaryFolder folder;
    int attempts = 0;
    const WithLockError locking([&] { return ++attempts == 1 ? EINTR : 0; });
    const AtomicFile file(folder / "routes.json", "new");
    EXPECT_EQ(attempts, 2);
}

TEST(AtomicFile, IsWrittenWhereThereAreNoLocks) {
    const TemporaryFolder folder;
    const WithLockError locking([] { return ENOLCK; });
    replace(folder / "routes.json");
    EXPECT_EQ(tests::readFile(folder / "routes.json"), "new");
}

TEST(AtomicFile, IsMadeAgainIfAnotherProcessRemovesItBeforeItIsLocked) {
    const TemporaryFolder folder;
    const std::size_t before = openFileCount();
    int attempts = 0;
    const WithLockError locking([&] {
        if (++attempts == 1) {
            std::filesystem::remove(folder / entries(folder.path()).front());
        }
        return 0;
    });
    replace(folder / "routes.json");
    EXPECT_EQ(attempts, 2);
    EXPECT_EQ(tests::readFile(folder / "routes.json"), "new");
    EXPECT_EQ(openFileCount(), before);
}

TEST(AtomicFile, FollowsFortyLinksAndNoMore) {
    const TemporaryFolder folder;
    for (int number = 1; number <= 41; ++number) {
        std::filesystem::create_symlink(std::to_string(number - 1), folder / std::to_string(number));
    }
    replace(folder / "40");
    EXPECT_EQ(tests::readFile(folder / "0"), "new");
    EXPECT_EQ(errorOf([&] { replace(folder / "41"); }), std::errc::too_many_symbolic_link_levels);
}

TEST(AtomicFile, ReplacesAndReadsOnlyRegularFiles) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "old");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(errorOf([&] { replace(folder / "pipe"); }), std::errc::operation_not_supported);
    EXPECT_EQ(errorOf([&] { static_cast<void>(readFile(folder / "pipe", 3)); }), std::errc::operation_not_supported);
    EXPECT_EQ(errorOf([&] { replace(folder.path()); }), std::errc::is_a_directory);
    EXPECT_EQ(errorOf([&] { replace(folder / "file/inside"); }), std::errc::not_a_directory);
    EXPECT_THAT(entries(folder.path()), ElementsAre("file", "pipe"));
}

TEST(AtomicFile, ReadsNothingLargerThanTheMaximumEvenIfTheFileTellsNoSize) {
    EXPECT_THAT(readFile("/proc/self/status", 1'000'000), StartsWith("Name:"));
    EXPECT_EQ(errorOf([] { static_cast<void>(readFile("/proc/self/status", 10)); }), std::errc::file_too_large);
}

}  // namespace
}  // namespace corvel
