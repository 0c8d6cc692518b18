#include "app/TerminationSignals.hpp"

#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace corvel {

namespace {

bool isIgnored(int signal) {
    struct sigaction action {};
    ::sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

}  // namespace

TerminationSignals::TerminationSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGINT);
    ::sigaddset(&signals, SIGTERM);
    if (!isIgnored(SIGHUP)) {
        ::sigaddset(&signals, SIGHUP);
    }
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    descriptor_ = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

TerminationSignals::~TerminationSignals() {
    ::close(descriptor_);
}

void TerminationSignals::watch(EventLoop& loop, std::function<void()> handler) const {
    loop.watch(descriptor_, [descriptor = descriptor_, handler = std::move(handler)] {
        signalfd_siginfo signal{};
        while (::read(descriptor, &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
            handler();
        }
    });
}

}  // namespace corvel
