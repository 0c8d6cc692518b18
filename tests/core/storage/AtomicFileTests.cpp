#include "core/storage/AtomicFile.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>
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

}  // namespace
}  // namespace corvel
