#include "tests/support/SystemCallCounter.hpp"

#include <linux/perf_event.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>

namespace corvel::tests {

namespace {

/// The number of the kernel's trace point at the start of each system call; no value if there is none.
std::optional<std::uint64_t> tracePoint() {
    constexpr const char* kFolder = "/sys/kernel/tracing";
    const std::string name = std::string(kFolder) + "/events/raw_syscalls/sys_enter/id";
    if (::access(name.c_str(), R_OK) != 0 && ::mount("tracefs", kFolder, "tracefs", 0, nullptr) != 0) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    if (!(std::ifstream(name) >> number)) {
        return std::nullopt;
    }
    return number;
}

}  // namespace

std::unique_ptr<SystemCallCounter> SystemCallCounter::of(pid_t thread) {
    const auto number = tracePoint();
    if (!number) {
        return nullptr;
    }
    perf_event_attr attributes{};
    attributes.type = PERF_TYPE_TRACEPOINT;
    attributes.size = sizeof attributes;
    attributes.config = *number;
    const long descriptor = ::syscall(SYS_perf_event_open, &attributes, thread, -1, -1, PERF_FLAG_FD_CLOEXEC);
    if (descriptor < 0) {
        return nullptr;
    }
    return std::unique_ptr<SystemCallCounter>(new SystemCallCounter(static_cast<int>(descriptor)));
}

SystemCallCounter::~SystemCallCounter() {
    ::close(descriptor_);
}

std::uint64_t SystemCallCounter::count() const {
    std::uint64_t count = 0;
    if (::read(descriptor_, &count, sizeof count) != static_cast<ssize_t>(sizeof count)) {
        throw std::system_error(errno, std::generic_category(), "count system calls");
    }
    return count;
}

}  // namespace corvel::tests
