#include "program/InstanceLock.hpp"

#include "program/Environment.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <system_error>
#include <utility>

namespace corvel {

namespace {

constexpr const char* kFolderName = "corvel";
constexpr mode_t kFolderMode = 0700;
/// The sticky bit asks programs that clean the runtime folder to keep the file.
constexpr mode_t kFileMode = 01600;
constexpr mode_t kWritableByOthers = 0022;

/// Maximum number of tries to create a lock file that another process removes.
constexpr int kMaxTries = 10;

void closeDescriptor(int& descriptor) {
    if (descriptor >= 0) {
        ::close(std::exchange(descriptor, -1));
    }
}

std::string lastError() {
    return std::system_category().message(errno);
}

/// The path of the user's runtime folder, whether or not it exists.
std::string runtimePath() {
    const std::string named = environmentVariable("XDG_RUNTIME_DIR");
    return named.empty() ? "/run/user/" + std::to_string(::geteuid()) : named;
}

/// Why files in this folder are not safe from other users; empty if they are.
std::string objection(int folder) {
    struct stat state {};
    if (::fstat(folder, &state) != 0) {
        return lastError();
    }
    if (state.st_uid != ::geteuid()) {
        return "it belongs to another user";
    }
    return (state.st_mode & kWritableByOthers) != 0 ? "other users may write there" : "";
}

}  // namespace

InstanceLock::~InstanceLock() {
    release();
    closeDescriptor(folder_);
}

InstanceLock::Attempt InstanceLock::take() {
    if (folder_ < 0) {
        openFolder();
    }
    if (folder_ < 0) {
        return Attempt::impossible;
    }
    for (int count = 0; count < kMaxTries && openFile(); ++count) {
        if (::flock(file_, LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK) {
                return Attempt::heldByAnother;
            }
            problem_ = lockPath() + ": " + lastError();
            break;
        }
        if (isInPlace()) {
            writeHolder();
            return Attempt::taken;
        }
        // The file was removed after it was opened, so other processes would lock another one.
        problem_ = lockPath() + ": it is removed again and again";
    }
    release();
    return Attempt::impossible;
}

void InstanceLock::release() {
    closeDescriptor(file_);
}

std::optional<pid_t> InstanceLock::holder() const {
    std::array<char, 16> text{};
    const ssize_t size = ::pread(file_, text.data(), text.size(), 0);
    pid_t pid = 0;
    const bool isNumber = size > 0 && std::from_chars(text.data(), text.data() + size, pid).ec == std::errc();
    return isNumber ? std::optional(pid) : std::nullopt;
}

std::string InstanceLock::socketPath() const {
    return "/proc/self/fd/" + std::to_string(folder_) + "/" + name_ + ".socket";
}

void InstanceLock::openFolder() {
    const std::string path = runtimePath();
    folderPath_ = path + "/" + kFolderName;
    int runtime = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (runtime < 0) {
        problem_ = path + ": " + lastError();
        return;
    }
    if (const std::string reason = objection(runtime); !reason.empty()) {
        problem_ = path + ": " + reason;
    } else {
        openFolderIn(runtime);
    }
    closeDescriptor(runtime);
}

void InstanceLock::openFolderIn(int runtime) {
    const bool isThere = ::mkdirat(runtime, kFolderName, kFolderMode) == 0 || errno == EEXIST;
    if (isThere) {
        folder_ = ::openat(runtime, kFolderName, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }
    if (const std::string reason = folder_ < 0 ? lastError() : objection(folder_); !reason.empty()) {
        problem_ = folderPath_ + ": " + reason;
        closeDescriptor(folder_);
    }
}

bool InstanceLock::openFile() {
    closeDescriptor(file_);
    file_ = ::openat(folder_, lockName().c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kFileMode);
    if (file_ < 0) {
        problem_ = lockPath() + ": " + lastError();
    }
    return file_ >= 0;
}

bool InstanceLock::isInPlace() const {
    struct stat opened {};
    struct stat named {};
    return ::fstat(file_, &opened) == 0 && ::fstatat(folder_, lockName().c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

void InstanceLock::writeHolder() const {
    // If the file system is full, the PID cannot be written, but the lock still holds.
    const std::string text = std::to_string(::getpid()) + '\n';
    [[maybe_unused]] const bool isEmpty = ::ftruncate(file_, 0) == 0;
    [[maybe_unused]] const ssize_t size = ::pwrite(file_, text.data(), text.size(), 0);
}

}  // namespace corvel
