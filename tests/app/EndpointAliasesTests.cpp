#include "app/EndpointAliases.hpp"

#include "app/InMemorySettings.hpp"
#include "tests/app/ModelFixture.hpp"

namespace corvel {
namespace {

using enum MIDIEndpointDirection;
using ::testing::Contains;
using ::testing::Pointee;

class EndpointAliasesTests : public ::testing::Test {
protected:
    const std::shared_ptr<InMemorySettings> settings = std::make_shared<InMemorySettings>();
};

TEST_F(EndpointAliasesTests, KeepsANameFromOneStartToTheNext) {
    EndpointAliases(settings).set(source, -5, "  Left hand \n");
    EXPECT_EQ(settings->string("Corvel.alias.source.-5"), "Left hand");
    EXPECT_THAT(EndpointAliases(settings).find(source, -5), Pointee(std::string("Left hand")));
}

TEST_F(EndpointAliasesTests, TellsAnInputFromAnOutputWithTheSameID) {
    EndpointAliases aliases(settings);
    aliases.set(source, 7, "In");
    EXPECT_EQ(aliases.find(destination, 7), nullptr);
    aliases.set(destination, 7, "Out");
    EXPECT_THAT(aliases.find(source, 7), Pointee(std::string("In")));
}

TEST_F(EndpointAliasesTests, TakesANameAwayWithABlankOne) {
    EndpointAliases aliases(settings);
    aliases.set(source, 7, "In");
    aliases.set(source, 7, " \t ");
    EXPECT_EQ(aliases.find(source, 7), nullptr);
    EXPECT_EQ(EndpointAliases(settings).find(source, 7), nullptr);
}

TEST_F(EndpointAliasesTests, PassesOverSettingsThatAreNone) {
    for (const char* const key : {"Corvel.alias.source.", "Corvel.alias.source.12a", "Corvel.alias.both.1",
                                  "Corvel.alias.source", "Corvel.appearanceMode", "Corvel.alias.source.99999999999"}) {
        settings->set(key, "x");
    }
    EXPECT_EQ(EndpointAliases(settings).find(source, 12), nullptr);
    EXPECT_EQ(EndpointAliases(settings).find(source, 1), nullptr);
}

class ModelAliasTests : public tests::ModelFixture {};

TEST_F(ModelAliasTests, CountsAsAChangeOfTheEndpointsAndLeavesTheDocumentAlone) {
    startModel();
    model->connect(1011, 1021);
    const auto before = document();
    std::vector<Property> changed;
    const Observation observation = model->observe([&changed](Property property) { changed.push_back(property); });
    model->setEndpointAlias(source, 1011, "Left hand");
    EXPECT_THAT(changed, Contains(Property::sources));
    EXPECT_THAT(model->endpointAliases().find(source, 1011), Pointee(std::string("Left hand")));
    EXPECT_EQ(model->sources()[0].displayName, "Keys");
    EXPECT_EQ(document(), before);
}

}  // namespace
}  // namespace corvel
