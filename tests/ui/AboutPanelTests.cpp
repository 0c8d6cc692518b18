#include "ui/AboutPanel.hpp"

#include "tests/support/TemporaryFolder.hpp"
#include "tests/ui/support/ViewProbe.hpp"

#include <QDir>
#include <QImage>
#include <QPointer>
#include <QTest>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

namespace corvel::ui {
namespace {

class TwoTexts : public BundleInformation {
public:
    [[nodiscard]] std::optional<std::string> string(std::string_view key) const override {
        return key == "CFBundleVersion" ? std::optional<std::string>("407") : std::optional<std::string>("2.5.1");
    }
};

/// Each test runs in a folder of its own, without an icon at first. Icons are identified by their sides.
class AboutPanelTests : public ::testing::Test {
protected:
    AboutPanelTests() { QDir::setCurrent(QString::fromStdString(folder.path().string())); }
    AboutPanelTests(const AboutPanelTests&) = delete;
    AboutPanelTests& operator=(const AboutPanelTests&) = delete;
    ~AboutPanelTests() override { QDir::setCurrent(before); }

    QString writeIcon(const char* name, int side) {
        const QString path = QString::fromStdString((folder / name).string());
        QDir().mkpath(QFileInfo(path).path());
        QImage image(side, side, QImage::Format_ARGB32);
        image.fill(Qt::blue);
        EXPECT_TRUE(image.save(path, "PNG"));
        return path;
    }

    void writeJunk(const char* name) { tests::writeFile(folder / name, "no picture"); }

    /// The side of the icon that is found; 0 if there is none.
    [[nodiscard]] int foundSide() const {
        const std::optional<QPixmap> icon = aboutPanelIcon(resource);
        return icon ? icon->width() : 0;
    }

    const QString before = QDir::currentPath();
    tests::TemporaryFolder folder;
    QString resource = ":/there is none";
};

TEST_F(AboutPanelTests, FindsNoIconWhereThereIsNone) {
    EXPECT_EQ(foundSide(), 0);
}

TEST_F(AboutPanelTests, PrefersTheProgramsOwnIcon) {
    writeIcon("Packaging/AppIcon.icns", 20);
    writeIcon("Packaging/AppIcon.png", 30);
    resource = writeIcon("resource.png", 10);
    EXPECT_EQ(foundSide(), 10);
}

TEST_F(AboutPanelTests, PrefersTheIconFileToThePicture) {
    writeIcon("Packaging/AppIcon.icns", 20);
    writeIcon("Packaging/AppIcon.png", 30);
    EXPECT_EQ(foundSide(), 20);
}

TEST_F(AboutPanelTests, TakesThePictureAtLast) {
    writeIcon("Packaging/AppIcon.png", 30);
    EXPECT_EQ(foundSide(), 30);
}

TEST_F(AboutPanelTests, GoesOnWhereAnIconDoesNotLoad) {
    writeJunk("resource.png");
    resource = QString::fromStdString((folder / "resource.png").string());
    writeJunk("Packaging/AppIcon.icns");
    EXPECT_EQ(foundSide(), 0);
    writeIcon("Packaging/AppIcon.png", 30);
    EXPECT_EQ(foundSide(), 30);
}

TEST_F(AboutPanelTests, LooksNowhereElse) {
    writeIcon("AppIcon.png", 30);
    writeIcon("Packaging/AppIcon.jpg", 30);
    writeIcon("Packaging/appicon.png", 30);
    EXPECT_EQ(foundSide(), 0);
}

TEST_F(AboutPanelTests, LooksInTheFolderThatIsCurrentNow) {
    writeIcon("elsewhere/Packaging/AppIcon.png", 30);
    EXPECT_EQ(foundSide(), 0);
    QDir::setCurrent(QString::fromStdString((folder / "elsewhere").string()));
    EXPECT_EQ(foundSide(), 30);
}

TEST_F(AboutPanelTests, ShowsNameVersionAndBuild) {
    const Look look(AppAppearanceMode::dark);
    QWidget window;
    window.resize(980, 640);
    window.show();
    for (const bool hasIcon : {true, false}) {
        auto* const panel = new AboutPanel(
            look, TwoTexts(), hasIcon ? std::optional(QPixmap(writeIcon("x.png", 10))) : std::nullopt, &window);
        panel->show();
        const QStringList texts = tests::labelTexts(*panel);
        EXPECT_TRUE(texts.contains("Corvel")) << texts.join('|').toStdString();
        EXPECT_TRUE(texts.join('\n').contains("2.5.1")) << texts.join('|').toStdString();
        EXPECT_TRUE(texts.join('\n').contains("407")) << texts.join('|').toStdString();
        EXPECT_TRUE(panel->isWindow());
        EXPECT_FALSE(panel->isModal());
        delete panel;
    }
}

TEST_F(AboutPanelTests, IsClosedByEscape) {
    const Look look(AppAppearanceMode::dark);
    QWidget window;
    window.resize(980, 640);
    window.show();
    const QPointer<AboutPanel> panel = new AboutPanel(look, TwoTexts(), std::nullopt, &window);
    panel->show();
    QTest::keyClick(panel.data(), Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&panel] {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return panel.isNull();
    }));
}

}  // namespace
}  // namespace corvel::ui
