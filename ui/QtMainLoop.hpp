#pragma once

#include "core/support/EventLoop.hpp"

#include <QSocketNotifier>

#include <memory>

namespace corvel::ui {

/// Has Qt's event loop run the rounds of the main queue, so that its tasks go on inside modal dialogs, menus and drags,
/// and in a program without windows. `QCoreApplication::exec` takes the place of the queue's `run`.
class QtMainLoop {
public:
    /// On the queue's own thread, while the application object exists.
    explicit QtMainLoop(std::shared_ptr<EventLoop> queue);

private:
    const std::shared_ptr<EventLoop> queue_;
    QSocketNotifier notifier_;
};

}  // namespace corvel::ui
