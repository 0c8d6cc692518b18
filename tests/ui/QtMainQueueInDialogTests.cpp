#include "program/QtMainQueue.hpp"

#include "program/InstanceServer.hpp"
#include "program/SingleInstance.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <QApplication>
#include <QDialog>
#include <QMenu>
#include <gtest/gtest.h>

#include <future>
#include <variant>

namespace corvel::ui {
namespace {

TEST(QtMainQueueInADialog, RunsTasksAndOtherStartsAreAnsweredWhileItIsOpen) {
    const tests::TemporaryFolder folder;
    const tests::ScopedEnvironment runtime("XDG_RUNTIME_DIR", folder.path().string());
    SingleInstance instance(folder / "Corvel");
    ASSERT_TRUE(std::holds_alternative<SingleInstance::Taken>(instance.takeOrAsk({})));
    const InstanceServer server(instance.listeningSocket(), [](const InstanceRequest&) {
        return CommandResult{0, "done"};
    });
    const QtMainQueue mainQueue;
    QDialog dialog;
    bool wasOpen = false;
    std::future<SingleInstance::Outcome> other;
    mainQueue.queue()->async([&] {
        other = std::async(std::launch::async, [&] {
            SingleInstance second(folder / "Corvel");
            SingleInstance::Outcome outcome = second.takeOrAsk({});
            mainQueue.queue()->asyncDeferred([&] {
                wasOpen = dialog.isVisible();
                dialog.done(7);
            });
            return outcome;
        });
    });
    EXPECT_EQ(dialog.exec(), 7);
    EXPECT_TRUE(wasOpen);
    EXPECT_EQ(std::get<SingleInstance::Answered>(other.get()).result, (CommandResult{0, "done"}));
}

TEST(QtMainQueueInAMenu, RunsTasksWhileItIsOpen) {
    const QtMainQueue mainQueue;
    QMenu menu;
    menu.addAction("Nothing");
    bool wasOpen = false;
    mainQueue.queue()->asyncDeferred([&] {
        wasOpen = menu.isVisible();
        menu.close();
    });
    menu.exec();
    EXPECT_TRUE(wasOpen);
}

}  // namespace
}  // namespace corvel::ui
