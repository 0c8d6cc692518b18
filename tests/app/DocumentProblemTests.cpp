#include "app/DocumentProblem.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

namespace corvel::tests {
namespace {

TEST(DocumentProblem, IsNoneForADocument) {
    const TemporaryFolder folder;
    writeFile(folder / "sets.json", R"({"selectedSetID": "00000000-0000-4000-8000-000000000001", "routeSets": []})");
    EXPECT_EQ(documentProblem(folder / "sets.json"), std::nullopt);
}

TEST(DocumentProblem, IsNoneForTheOlderArrayOfConnections) {
    const TemporaryFolder folder;
    writeFile(folder / "sets.json", "[]");
    EXPECT_EQ(documentProblem(folder / "sets.json"), std::nullopt);
}

TEST(DocumentProblem, NamesAMissingFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(documentProblem(folder / "sets.json"), "No such file or directory");
}

TEST(DocumentProblem, NamesAFolder) {
    const TemporaryFolder folder;
    EXPECT_EQ(documentProblem(folder.path()), "Is a directory");
}

TEST(DocumentProblem, NamesTheLineOfWhatIsNotJSON) {
    const TemporaryFolder folder;
    writeFile(folder / "sets.json", "{\n  \"routeSets\" : oops\n}");
    EXPECT_EQ(documentProblem(folder / "sets.json"), "line 2: not valid JSON");
}

TEST(DocumentProblem, NamesAnEmptyFileAsNotJSON) {
    const TemporaryFolder folder;
    writeFile(folder / "sets.json", "");
    EXPECT_EQ(documentProblem(folder / "sets.json"), "line 1: not valid JSON");
}

TEST(DocumentProblem, NamesThePlaceOfWhatIsNoDocument) {
    const TemporaryFolder folder;
    writeFile(folder / "sets.json", R"({"selectedSetID": "no", "routeSets": 5})");
    const auto problem = documentProblem(folder / "sets.json");
    ASSERT_TRUE(problem);
    EXPECT_NE(problem->find("expected"), std::string::npos) << *problem;
}

}  // namespace
}  // namespace corvel::tests
