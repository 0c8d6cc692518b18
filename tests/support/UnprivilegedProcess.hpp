#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace corvel::tests {

/// Runs the checks in a process of their own, so that its limits and threads do not affect this one. Returns whether
/// all passed.
inline bool holdsInProcess(const std::function<void()>& checks) {
    const pid_t child = ::fork();
    if (child == 0) {
        checks();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 1;
    ::waitpid(child, &status, 0);
    return status == 0;
}

/// As above, in a process to which the kernel grants no real-time priority.
inline bool holdsInUnprivilegedProcess(const std::function<void()>& checks) {
    return holdsInProcess([&checks] {
        constexpr uid_t kNobody = 65534;
        const rlimit none{0, 0};
        ASSERT_EQ(::setrlimit(RLIMIT_RTPRIO, &none), 0);
        if (::geteuid() == 0) {
            ASSERT_EQ(::setresuid(kNobody, kNobody, kNobody), 0);
        }
        checks();
    });
}

}  // namespace corvel::tests
