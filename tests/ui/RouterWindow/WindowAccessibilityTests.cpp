#include "tests/ui/support/OpenMenu.hpp"
#include "tests/ui/support/RouterWindowFixture.hpp"
#include "ui/RouterWindow/SettingsSheet.hpp"
#include "ui/controls/PopUpButton.hpp"

#include <QAccessible>

#include <algorithm>
#include <string>
#include <vector>

namespace corvel::ui {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

/// The window as a screen reader sees it.
class WindowAccessibilityTests : public tests::RouterWindowFixture {
protected:
    static void collect(QAccessibleInterface* interface, std::vector<QAccessibleInterface*>& all) {
        if (interface == nullptr || interface->state().invisible) {
            return;
        }
        all.push_back(interface);
        for (int index = 0; index < interface->childCount(); ++index) {
            collect(interface->child(index), all);
        }
    }

    [[nodiscard]] static std::vector<QAccessibleInterface*> interfacesIn(QWidget& root) {
        std::vector<QAccessibleInterface*> all;
        collect(QAccessible::queryAccessibleInterface(&root), all);
        return all;
    }

    /// Controls that can be pressed, chosen or typed into but have no name, by the name of their type.
    [[nodiscard]] static std::vector<std::string> namelessControls(QWidget& root) {
        std::vector<std::string> nameless;
        for (QAccessibleInterface* const interface : interfacesIn(root)) {
            QAccessibleActionInterface* const actions = interface->actionInterface();
            const bool isControl =
                interface->state().focusable || (actions != nullptr && !actions->actionNames().isEmpty());
            if (isControl && interface->text(QAccessible::Name).trimmed().isEmpty()) {
                nameless.emplace_back(interface->object()->metaObject()->className());
            }
        }
        return nameless;
    }

    /// Buttons that a screen reader cannot find or press.
    [[nodiscard]] static std::vector<std::string> unreachableButtons(QWidget& root) {
        const std::vector<QAccessibleInterface*> found = interfacesIn(root);
        std::vector<std::string> unreachable;
        for (QAbstractButton* const button : root.findChildren<QAbstractButton*>()) {
            if (button->window() != &root || !button->isVisible()) {
                continue;
            }
            QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(button);
            QAccessibleActionInterface* const actions = interface->actionInterface();
            const bool isPressable =
                !button->isEnabled() ||
                (actions != nullptr && actions->actionNames().contains(QAccessibleActionInterface::pressAction()));
            if (std::find(found.begin(), found.end(), interface) == found.end() || !isPressable) {
                unreachable.push_back(tests::accessibleName(*button).toStdString());
            }
        }
        return unreachable;
    }
};

TEST_F(WindowAccessibilityTests, NamesEveryControlOfTheWindow) {
    model->connect(1011, 1021);
    model->connect(1012, 1022);
    turn();
    EXPECT_THAT(namelessControls(*window), IsEmpty());
    EXPECT_THAT(unreachableButtons(*window), IsEmpty());
}

TEST_F(WindowAccessibilityTests, NamesEveryControlOfTheSettings) {
    button("Open settings").click();
    turn();
    auto& sheet = tests::only<SettingsSheet>(*window);
    EXPECT_THAT(namelessControls(sheet), IsEmpty());
    EXPECT_THAT(unreachableButtons(sheet), IsEmpty());
    tests::button(sheet, "Debug").click();
    turn();
    EXPECT_THAT(namelessControls(sheet), IsEmpty());
    EXPECT_THAT(unreachableButtons(sheet), IsEmpty());
}

TEST_F(WindowAccessibilityTests, NamesEveryControlOfTheSetsDialogs) {
    model->createRouteSet("Live");
    turn();
    for (const char* const opener :
         {"Create connection set", "Duplicate current set", "Rename current set", "Delete current set"}) {
        button(opener).click();
        turn();
        QWidget* const dialog = SheetDialog::topOf(*window);
        ASSERT_NE(dialog, nullptr) << opener;
        EXPECT_THAT(namelessControls(*dialog), IsEmpty()) << opener;
        EXPECT_THAT(unreachableButtons(*dialog), IsEmpty()) << opener;
        EXPECT_NE(QAccessible::queryAccessibleInterface(dialog)->text(QAccessible::Name), "") << opener;
        tests::pressAccessibly(tests::button(*dialog, "Cancel"));
        ASSERT_TRUE(turnUntil([this] { return SheetDialog::topOf(*window) == nullptr; }));
    }
}

TEST_F(WindowAccessibilityTests, TellsWhichRowsAreSelected) {
    const auto said = [](EndpointRow& row) {
        QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(&row);
        return interface->text(QAccessible::Name) + interface->text(QAccessible::Description) +
               (interface->state().selected || interface->state().checked ? " [marked]" : "");
    };
    const QString before = said(row(inputs(), 0));
    model->setSelectedSourceID(1011);
    turn();
    EXPECT_NE(said(row(inputs(), 0)), before);
}

TEST_F(WindowAccessibilityTests, ConnectsAndSwitchesSetsByPressesAlone) {
    tests::pressAccessibly(row(inputs(), 0));
    tests::pressAccessibly(row(outputs(), 1));
    turn();
    tests::pressAccessibly(button("Connect"));
    ASSERT_THAT(model->routes(), SizeIs(1));
    tests::pressAccessibly(button("Duplicate current set"));
    turn();
    tests::pressAccessibly(tests::button(*SheetDialog::topOf(*window), "OK"));
    EXPECT_EQ(model->selectedRouteSetName(), "Default Copy");
    ASSERT_THAT(model->routes(), SizeIs(1));
    model->setSelectedRouteID(model->routes()[0].id);
    turn();
    tests::pressAccessibly(button("Delete selected connection"));
    EXPECT_THAT(model->routes(), IsEmpty());
}

TEST_F(WindowAccessibilityTests, GivesEveryControlItsRoleAndStates) {
    const auto interface = [](QWidget& view) { return QAccessible::queryAccessibleInterface(&view); };
    QAccessibleInterface* const input = interface(row(inputs(), 0));
    EXPECT_EQ(input->role(), QAccessible::ListItem);
    EXPECT_EQ(input->parent()->role(), QAccessible::List);
    EXPECT_FALSE(input->state().selected);
    model->setSelectedSourceID(1011);
    turn();
    EXPECT_TRUE(input->state().selected);

    auto& sets = tests::only<PopUpButton>(*window);
    EXPECT_EQ(interface(sets)->role(), QAccessible::ButtonMenu);
    EXPECT_TRUE(interface(sets)->state().hasPopup);
    EXPECT_FALSE(interface(sets)->state().expanded);
    tests::withOpenMenu([&sets] { sets.click(); },
                        [&](QMenu& menu) {
                            EXPECT_TRUE(interface(sets)->state().expanded);
                            EXPECT_TRUE(interface(menu)->child(0)->state().checked);
                        });
    EXPECT_FALSE(interface(sets)->state().expanded);

    button("Open settings").click();
    turn();
    auto& sheet = tests::only<SettingsSheet>(*window);
    QAccessibleInterface* const general = interface(tests::button(sheet, "General"));
    QAccessibleInterface* const debug = interface(tests::button(sheet, "Debug"));
    EXPECT_EQ(general->role(), QAccessible::PageTab);
    EXPECT_TRUE(general->state().selected);
    EXPECT_FALSE(debug->state().selected);
    QAccessibleInterface* const dark = interface(tests::button(sheet, "Dark"));
    EXPECT_EQ(dark->role(), QAccessible::RadioButton);
    EXPECT_TRUE(dark->state().checked);
    EXPECT_FALSE(interface(tests::button(sheet, "Light"))->state().checked);
}

}  // namespace
}  // namespace corvel::ui
