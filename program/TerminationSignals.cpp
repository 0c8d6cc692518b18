#include "program/TerminationSignals.hpp"

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
    sigset_t terminating;
    ::sigemptyset(&terminating);
    ::sigaddset(&terminating, SIGINT);
    ::sigaddset(&terminating, SIGTERM);
    if (!isIgnored(SIGHUP)) {
        ::sigaddset(&terminating, SIGHUP);
    }
    ::pthread_sigmask(SIG_BLOCK, &terminating, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    descriptor_ = ::signalfd(-1, &terminating, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "signalfd");
    }
}

TerminationSignals::~TerminationSignals() {
    ::close(descriptor_);
}

std::unique_ptr<QSocketNotifier> TerminationSignals::watch(std::function<void()> handler) const {
    auto notifier = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated,
                     [descriptor = descriptor_, handler = std::move(handler)] {
                         signalfd_siginfo signal{};
                         while (::read(descriptor, &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
                             handler();
                         }
                     });
    return notifier;
}

}  // namespace corvel
