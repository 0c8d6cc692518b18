#include "hosts/RealtimeAlarm.hpp"

#include <sched.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace corvel::hosts {

namespace {

// Global, because a signal handler can use nothing else.
std::atomic<pid_t> guardedThread = 0;
std::atomic<int> alarmDescriptor = -1;
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

constexpr pid_t kCallingThread = 0;

bool hasRealtimePriority(pid_t thread) {
    const int policy = ::sched_getscheduler(thread) & ~SCHED_RESET_ON_FORK;
    return policy == SCHED_RR || policy == SCHED_FIFO;
}

/// The kernel sends the signal to the thread that used too much time, unless that thread blocks it.
void giveUpPriority(int /*signal*/) {
    const int error = errno;
    const pid_t thread = hasRealtimePriority(kCallingThread) ? kCallingThread : guardedThread.load();
    const sched_param ordinary{};
    // Keeps the flag, because an ordinary user may not clear it.
    ::sched_setscheduler(thread, SCHED_OTHER | SCHED_RESET_ON_FORK, &ordinary);
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t size = ::write(alarmDescriptor.load(), &one, sizeof one);
    errno = error;
}

int openDescriptor() {
    const int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    return descriptor;
}

}  // namespace

bool RealtimeAlarm::limit(std::chrono::microseconds time) {
    rlimit limits{};
    ::getrlimit(RLIMIT_RTTIME, &limits);
    limits.rlim_max = std::min(limits.rlim_max, static_cast<rlim_t>(time.count()));
    // The kernel raises the soft limit by a second with each signal, so it is set again each time.
    limits.rlim_cur = limits.rlim_max / 2;
    return ::setrlimit(RLIMIT_RTTIME, &limits) == 0;
}

RealtimeAlarm::RealtimeAlarm(pid_t thread) : thread_(thread), descriptor_(openDescriptor()) {
    guardedThread = thread;
    alarmDescriptor = descriptor_;
    struct sigaction action {};
    action.sa_handler = &giveUpPriority;
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGXCPU, &action, nullptr);
}

RealtimeAlarm::~RealtimeAlarm() {
    std::signal(SIGXCPU, SIG_IGN);
    alarmDescriptor = -1;
    ::close(descriptor_);
}

bool RealtimeAlarm::acknowledge() const {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t size = ::read(descriptor_, &count, sizeof count);
    return !hasRealtimePriority(thread_);
}

}  // namespace corvel::hosts
