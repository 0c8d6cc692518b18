#include "ui/QtMainLoop.hpp"

#include <utility>

namespace corvel::ui {

QtMainLoop::QtMainLoop(std::shared_ptr<EventLoop> queue)
    : queue_(std::move(queue)), notifier_(queue_->readyDescriptor(), QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, [this] { queue_->runReady(); });
    queue_->runReady();
}

}  // namespace corvel::ui
