#include "ui/AppMetadata.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvel::ui {
namespace {

class FakeBundleInformation : public BundleInformation {
public:
    [[nodiscard]] std::optional<std::string> string(std::string_view key) const override {
        asked.emplace_back(key);
        const auto text = texts.find(key);
        return text == texts.end() ? std::nullopt : std::optional(text->second);
    }

    std::map<std::string, std::string, std::less<>> texts;
    mutable std::vector<std::string> asked;
};

TEST(AppMetadata, IsWhatTheBuildWrote) {
    FakeBundleInformation bundle;
    bundle.texts = {{"CFBundleShortVersionString", "2.5.1"}, {"CFBundleVersion", "407"}};
    EXPECT_EQ(AppMetadata::version(bundle), "2.5.1");
    EXPECT_EQ(AppMetadata::build(bundle), "407");
    EXPECT_THAT(bundle.asked, ::testing::ElementsAre("CFBundleShortVersionString", "CFBundleVersion"));
}

TEST(AppMetadata, IsTheFirstVersionWhereTheBuildWroteNone) {
    FakeBundleInformation bundle;
    bundle.texts = {{"CFBundleVersion", "407"}};
    EXPECT_EQ(AppMetadata::version(bundle), "1.0.0");
    EXPECT_EQ(AppMetadata::build(bundle), "407");

    bundle.texts = {{"CFBundleShortVersionString", "2.5.1"}};
    EXPECT_EQ(AppMetadata::version(bundle), "2.5.1");
    EXPECT_EQ(AppMetadata::build(bundle), "1");
}

TEST(AppMetadata, TakesAnEmptyTextForAText) {
    FakeBundleInformation bundle;
    bundle.texts = {{"CFBundleShortVersionString", ""}, {"CFBundleVersion", ""}};
    EXPECT_EQ(AppMetadata::version(bundle), "");
    EXPECT_EQ(AppMetadata::build(bundle), "");
}

TEST(AppMetadata, IsReadAgainEachTime) {
    FakeBundleInformation bundle;
    bundle.texts = {{"CFBundleShortVersionString", "1.1"}};
    EXPECT_EQ(AppMetadata::version(bundle), "1.1");
    bundle.texts = {{"CFBundleShortVersionString", "1.2"}};
    EXPECT_EQ(AppMetadata::version(bundle), "1.2");
}

TEST(AppMetadata, IsTheProjectsVersionInTheProgramItself) {
    const auto bundle = makeMainBundleInformation();
    EXPECT_EQ(AppMetadata::version(*bundle), CORVEL_VERSION);
    EXPECT_EQ(AppMetadata::build(*bundle), "1");
    EXPECT_EQ(bundle->string("CFBundleIdentifier"), std::nullopt);
}

}  // namespace
}  // namespace corvel::ui
