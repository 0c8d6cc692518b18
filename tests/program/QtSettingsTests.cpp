#include "program/QtSettings.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <QSettings>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace corvel {
namespace {

using ::testing::UnorderedElementsAre;

class QtSettingsTests : public ::testing::Test {
protected:
    QtSettingsTests() {
        const QString path = QString::fromStdString(folder.path().string());
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, path);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, path);
    }

    [[nodiscard]] std::string fileContent() const { return tests::readFile(folder / "Corvel/Corvel.ini"); }

    tests::TemporaryFolder folder;
};

TEST_F(QtSettingsTests, HoldNothingAtFirst) {
    const QtSettings settings;
    EXPECT_EQ(settings.string("Corvel.appearanceMode"), std::nullopt);
    EXPECT_THAT(settings.keys(), UnorderedElementsAre());
}

TEST_F(QtSettingsTests, KeepTextsAsTheyAre) {
    for (const std::string text : {"light", "", " two  blanks ", "a,b", "\"quoted\"", "a;b=c#d", "back\\slash\\n",
                                   "one\ntwo\ttab", "@Invalid()", "@ByteArray(x)", "Grün 🎹", "%41", "true", "12"}) {
        QtSettings().set("Corvel.appearanceMode", text);
        EXPECT_EQ(QtSettings().string("Corvel.appearanceMode"), text);
    }
}

TEST_F(QtSettingsTests, AreWrittenAtOnce) {
    QtSettings settings;
    settings.set("Corvel.appearanceMode", "light");
    EXPECT_EQ(fileContent(), "[General]\nCorvel.appearanceMode=light\n");
    settings.set("Corvel.appearanceMode", "dark");
    EXPECT_EQ(fileContent(), "[General]\nCorvel.appearanceMode=dark\n");
}

TEST_F(QtSettingsTests, ListTheirKeysAsTheyWereWritten) {
    QtSettings settings;
    settings.set("NSWindow Frame Corvel.RouterWindow-1-AppWindow-1", "1 2 3 4");
    settings.set("Corvel.appearanceMode", "light");
    EXPECT_THAT(QtSettings().keys(),
                UnorderedElementsAre("NSWindow Frame Corvel.RouterWindow-1-AppWindow-1", "Corvel.appearanceMode"));
    EXPECT_EQ(QtSettings().string("NSWindow Frame Corvel.RouterWindow-1-AppWindow-1"), "1 2 3 4");
}

TEST_F(QtSettingsTests, ListKeysThatTheUserWroteOutsideTheFirstSection) {
    tests::writeFile(folder / "Corvel/Corvel.ini",
                     "[NSWindow%20Frame%20RouterWindow]\nAppWindow=1\n[General]\nCorvel.appearanceMode=light\n");
    EXPECT_THAT(QtSettings().keys(),
                UnorderedElementsAre("NSWindow Frame RouterWindow/AppWindow", "Corvel.appearanceMode"));
    EXPECT_EQ(QtSettings().string("Corvel.appearanceMode"), "light");
}

TEST_F(QtSettingsTests, SurviveAFileThatIsNone) {
    tests::writeFile(folder / "Corvel/Corvel.ini", std::string("\0\xFF]]]==\n[", 10));
    QtSettings settings;
    EXPECT_EQ(settings.string("Corvel.appearanceMode"), std::nullopt);
    settings.set("Corvel.appearanceMode", "light");
    EXPECT_EQ(settings.string("Corvel.appearanceMode"), "light");
}

}  // namespace
}  // namespace corvel
