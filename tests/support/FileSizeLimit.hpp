#pragma once

#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <system_error>

namespace corvel::tests {

/// Makes every write beyond this size of a file fail with "File too large" until the end of the scope, also for root,
/// as a full disk would. Keep the scope small: it also applies to the test's own output.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::size_t bytes) : previousHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &previous_);
        const rlimit limit{bytes, previous_.rlim_max};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) {
            throw std::system_error(errno, std::generic_category(), "setrlimit");
        }
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &previous_);
        std::signal(SIGXFSZ, previousHandler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*previousHandler_)(int);
    rlimit previous_{};
};

}  // namespace corvel::tests
