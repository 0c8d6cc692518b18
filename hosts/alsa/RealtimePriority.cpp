#include "hosts/alsa/RealtimePriority.hpp"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>

#include <algorithm>
#include <system_error>

namespace corvel::hosts {

namespace {

/// Above ordinary programs, below the threads that feed sound cards.
constexpr int kWantedPriority = 20;

int setPriority(int priority) {
    sched_param parameters{};
    parameters.sched_priority = priority;
    return ::pthread_setschedparam(::pthread_self(), SCHED_RR, &parameters);
}

}  // namespace

std::optional<std::string> requestRealtimePriority() {
    int error = setPriority(kWantedPriority);
    if (error != 0) {
        rlimit limit{};
        ::getrlimit(RLIMIT_RTPRIO, &limit);
        if (const auto granted = static_cast<int>(std::min<rlim_t>(limit.rlim_cur, kWantedPriority)); granted > 0) {
            error = setPriority(granted);
        }
    }
    if (error == 0) {
        return std::nullopt;
    }
    return std::system_category().message(error);
}

}  // namespace corvel::hosts
