#pragma once

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace corvel::tests {

/// Counts how often a file was replaced by renaming, which is how documents are saved. Does not count files that are
/// written in place. One thread only.
class SaveCounter {
public:
    /// The file's folder must exist.
    explicit SaveCounter(const std::filesystem::path& file)
        : name_(file.filename().string()), descriptor_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        // Both events of a rename, because the system merges equal events that follow each other.
        if (descriptor_ < 0 ||
            ::inotify_add_watch(descriptor_, file.parent_path().c_str(), IN_MOVED_FROM | IN_MOVED_TO) < 0) {
            throw std::system_error(errno, std::generic_category(), "inotify");
        }
    }
    ~SaveCounter() { ::close(descriptor_); }
    SaveCounter(const SaveCounter&) = delete;
    SaveCounter& operator=(const SaveCounter&) = delete;

    /// The saves since the last call.
    [[nodiscard]] std::size_t take() {
        std::size_t count = 0;
        std::array<char, 16'384> buffer{};
        for (;;) {
            const ssize_t size = ::read(descriptor_, buffer.data(), buffer.size());
            if (size <= 0) {
                return count;
            }
            for (std::size_t position = 0; position < static_cast<std::size_t>(size);) {
                inotify_event event{};
                std::memcpy(&event, buffer.data() + position, sizeof event);
                if ((event.mask & IN_Q_OVERFLOW) != 0) {
                    throw std::runtime_error("too many changes to count");
                }
                const char* const name = buffer.data() + position + sizeof event;
                count += (event.mask & IN_MOVED_TO) != 0 && event.len > 0 && name_ == name ? 1 : 0;
                position += sizeof event + event.len;
            }
        }
    }

private:
    const std::string name_;
    const int descriptor_;
};

}  // namespace corvel::tests
