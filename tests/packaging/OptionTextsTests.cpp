#include "Packaging/texts/OptionTexts.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace corvel::tests {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST(OptionTexts, WriteAnOptionWithItsValuesForTheManualPage) {
    EXPECT_THAT(OptionTexts::manualOptions(),
                HasSubstr(".TP\n\\fB\\-\\-channel\\fR \\fIN\\fR\nForce the connection onto a channel from 1 to 16. "));
    EXPECT_THAT(OptionTexts::manualOptions(), HasSubstr(".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\n"));
    EXPECT_THAT(OptionTexts::manualOptions(), HasSubstr("names as \\fB\\-\\-list\\fR shows them"));
}

TEST(OptionTexts, WriteTheWindowFirstInTheSynopsis) {
    EXPECT_THAT(OptionTexts::manualSynopsis(), StartsWith(".B corvel\n[\\fB\\-\\-midi\\fR SERVICE]\n"));
}

TEST(OptionTexts, TellBashWhatValuesAndCommandsAnOptionHas) {
    EXPECT_THAT(OptionTexts::bashValues(), HasSubstr("[--connect]='source destination'\n"));
    EXPECT_THAT(OptionTexts::bashValues(), HasSubstr("[--appearance]='=light|dark'\n"));
    EXPECT_THAT(OptionTexts::bashValues(), HasSubstr("[--sets]=''\n"));
    EXPECT_THAT(OptionTexts::bashUses(), HasSubstr("[--channel]='--connect'\n"));
    EXPECT_THAT(OptionTexts::bashUses(), HasSubstr("[--headless]='-'\n"));
}

TEST(OptionTexts, TellZshWhatExcludesAnOptionAndWhatCompletesItsValues) {
    EXPECT_THAT(OptionTexts::zshOptions(), HasSubstr("'(- *)--version[Print the version]'\n"));
    EXPECT_THAT(OptionTexts::zshOptions(),
                HasSubstr("--set[Make another connection set the current one, by name or ID]:NAME: _corvel_sets'\n"));
    EXPECT_THAT(OptionTexts::zshOptions(), Not(HasSubstr("--json")));
    EXPECT_THAT(OptionTexts::zshDetails(), HasSubstr("(( $words[(I)--list] )) && specifications+=('"));
}

TEST(OptionTexts, NameTheOptionsThatOpenNoWindow) {
    EXPECT_THAT(OptionTexts::commandNames(), StartsWith("--headless\n--list\n--connect\n"));
    EXPECT_THAT(OptionTexts::commandNames(), ::testing::EndsWith("--version\n--help\n-h\n"));
    EXPECT_THAT(OptionTexts::commandNames(), Not(HasSubstr("--midi")));
}

TEST(OptionTexts, FillTheirNamesInATemplate) {
    EXPECT_EQ(OptionTexts::filledTemplate("a@NAME@b@NAME@", {{"NAME", "x@"}}), "ax@bx@");
    EXPECT_EQ(OptionTexts::filledTemplate("${words[@]} @ @b@ @@ me@home", {}), "${words[@]} @ @b@ @@ me@home");
    EXPECT_EQ(OptionTexts::filledTemplate("@A_B@", {{"A_B", ""}}), "");
    EXPECT_THROW((void)OptionTexts::filledTemplate("@NONE@", {}), std::runtime_error);
}

}  // namespace
}  // namespace corvel::tests
