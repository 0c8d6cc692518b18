#include "program/Router.hpp"

#include "core/support/ApplicationIdentifier.hpp"
#include "program/Console.hpp"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <utility>

namespace corvel {

Router::Router(MIDIHostChoice choice)
    : engineQueue_(EventLoop::withThread(std::string(kApplicationIdentifier) + ".engine")),
      selection_(hosts::selectHost(
          choice, engineQueue_, mainQueue_.queue(),
          [this](pid_t thread, int priority, const auto& answer) { realtimeKit_.request(thread, priority, answer); })),
      engine_(CoreMIDIRouterEngine::create(selection_.host, engineQueue_, mainQueue_.queue(), clock_)) {}

/// The order matters: the engine ends first, with its ports and client, which still send what is waiting; then the
/// service, and the queues last.
Router::~Router() {
    engine_.reset();
    // A task on the queue may still hold the engine. The engine then ends with the task, and posts the disposal of its
    // ports and client: hence two rounds.
    engineQueue_->sync([] {});
    engineQueue_->sync([] {});
}

bool Router::printProblem() const {
    if (!problem().empty()) {
        printError(isDemo() ? problem() + "; using the demo devices" : problem());
    }
    return selection_.hasService;
}

std::shared_ptr<MIDIRouterViewModel> Router::makeModel(std::shared_ptr<RouteStore> store,
                                                       std::shared_ptr<Settings> settings) const {
    return MIDIRouterViewModel::create(engine_, std::move(store), std::move(settings), clock_, mainQueue_.queue());
}

void Router::finish(std::chrono::milliseconds limit, const std::function<bool()>& isDone) const {
    const QDeadlineTimer deadline(limit);
    // Ends the wait for events at the limit.
    QTimer end;
    end.start(limit);
    while (!(mainQueue_.isIdle() && isDone()) && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

}  // namespace corvel
