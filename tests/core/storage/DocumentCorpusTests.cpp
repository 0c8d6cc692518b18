#include "core/storage/RouteSetDocumentCoder.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

namespace corvel {
namespace {

using RouteSetDocumentCoder::decode;
using RouteSetDocumentCoder::DecodingError;

bool isRead(const std::string& text) {
    try {
        static_cast<void>(decode(text));
        return true;
    } catch (const DecodingError&) {
        return false;
    }
}

/// Whether a file of the corpus must be read or refused, by its folder and name ("too-deep/arrays-513").
bool isToBeRead(const std::string& folder, const std::string& name) {
    static const std::set<std::string> kReadFolders{"channel-modes", "dangling-selection", "duplicate-keys",
                                                    "numbers",       "older-array",        "older-variants",
                                                    "repeated-ids",  "unknown-keys",       "valid"};
    if (name == "last-is-null" || name == "one-bad-route" || (folder == "unknown-keys" && name == "only")) {
        return false;
    }
    return kReadFolders.contains(folder) || name == "unknown-key-511-fits";
}

TEST(DocumentCorpus, HasEveryFileReadOrRefusedAsItsFolderSays) {
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(CORVEL_CORPUS "/document")) {
        if (entry.is_regular_file()) {
            const std::filesystem::path& path = entry.path();
            EXPECT_EQ(isRead(tests::readFile(path)),
                      isToBeRead(path.parent_path().filename().string(), path.stem().string()))
                << path;
            ++count;
        }
    }
    EXPECT_GE(count, 100);
}

TEST(DocumentCorpus, HoldsTheWrittenFormByteForByte) {
    const std::string written = tests::readFile(CORVEL_CORPUS "/document/valid/written-form.json");
    EXPECT_EQ(RouteSetDocumentCoder::encode(decode(written)), written);
}

}  // namespace
}  // namespace corvel
