#include "program/Router.hpp"

#include "core/support/ApplicationIdentifier.hpp"
#include "program/Console.hpp"

#include <utility>

namespace corvel {

Router::Router(MIDIHostChoice choice)
    : mainQueue_(EventLoop::onThisThread(std::string(kApplicationIdentifier) + ".main")),
      engineQueue_(EventLoop::withThread(std::string(kApplicationIdentifier) + ".engine")),
      selection_(hosts::selectHost(choice, engineQueue_, mainQueue_)) {
    if (!selection_.message.empty()) {
        complain(selection_.message);
    }
    if (selection_.host) {
        engine_ = CoreMIDIRouterEngine::create(selection_.host, engineQueue_, mainQueue_, clock_);
    }
}

/// The engine goes first, and with it ports and client, which still send what waits; then the service, and the queues
/// last.
Router::~Router() {
    engine_.reset();
    // A task of the queue may still hold the engine, which then goes with the task, and posts how its ports and its
    // client go.
    engineQueue_->sync([] {});
    engineQueue_->sync([] {});
}

std::string Router::demoReason() const {
    const bool isChosen = isDemo() && selection_.message.empty();
    return isChosen ? "Corvel was started with --midi demo" : selection_.message;
}

std::shared_ptr<MIDIRouterViewModel> Router::makeModel(std::shared_ptr<RouteStore> store,
                                                       std::shared_ptr<Settings> settings) const {
    return MIDIRouterViewModel::create(engine_, std::move(store), std::move(settings), clock_, mainQueue_);
}

}  // namespace corvel
