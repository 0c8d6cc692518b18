#include "core/storage/AtomicFile.hpp"

#include "core/support/UUID.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <system_error>
#include <utility>

namespace corvel {

namespace {

using std::filesystem::path;

/// Maximum number of symbolic links that are followed, as in the kernel.
constexpr int kMaxLinks = 40;
constexpr ::mode_t kPermissions = 07777;
constexpr ::mode_t kDefaultPermissions = 0666;

[[noreturn]] void fail(int error) {
    throw std::system_error(error, std::generic_category());
}

/// Repeats a system call that a signal interrupts; throws if it fails.
template <typename Call>
auto checked(Call call) {
    for (;;) {
        const auto result = call();
        if (result >= 0) {
            return result;
        }
        if (errno != EINTR) {
            fail(errno);
        }
    }
}

class FileDescriptor {
public:
    FileDescriptor(const path& file, int flags)
        : value_(checked([&] { return ::open(file.c_str(), flags | O_CLOEXEC); })) {}
    ~FileDescriptor() { ::close(value_); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    [[nodiscard]] int get() const { return value_; }

    [[nodiscard]] struct ::stat status() const {
        struct ::stat status {};
        checked([&] { return ::fstat(value_, &status); });
        return status;
    }

private:
    int value_;
};

void requireRegular(const struct ::stat& status) {
    if (!S_ISREG(status.st_mode)) {
        fail(S_ISDIR(status.st_mode) ? EISDIR : EOPNOTSUPP);
    }
}

/// The permissions of the regular file at `file`; no value if there is no file.
std::optional<::mode_t> permissions(const path& file) {
    struct ::stat status {};
    if (::stat(file.c_str(), &status) != 0) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        fail(errno);
    }
    requireRegular(status);
    return status.st_mode & kPermissions;
}

/// The path after following links at the end of `file`, whether or not it exists.
path followLinks(path file) {
    for (int followed = 0; followed <= kMaxLinks; ++followed) {
        if (!std::filesystem::is_symlink(std::filesystem::symlink_status(file))) {
            return file;
        }
        file = file.parent_path() / std::filesystem::read_symlink(file);
    }
    fail(ELOOP);
}

void writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = checked([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

path folderOf(const path& file) {
    return file.has_parent_path() ? file.parent_path() : path(".");
}

/// Makes the names in a folder survive a power cut, as far as the file system can. A failure is ignored: the names are
/// already in place, and a caller would conclude that they are not.
void syncFolder(const path& folder) {
    try {
        const FileDescriptor directory(folder, O_RDONLY);
        checked([&] { return ::fsync(directory.get()); });
    } catch (const std::system_error&) {
        return;
    }
}

constexpr std::string_view kTemporaryPrefix = ".corvel-";
constexpr std::string_view kTemporarySuffix = ".tmp";

bool isTemporaryName(std::string_view name) {
    const std::size_t affixes = kTemporaryPrefix.size() + kTemporarySuffix.size();
    return name.starts_with(kTemporaryPrefix) && name.ends_with(kTemporarySuffix) &&
           UUID::parse(name.substr(kTemporaryPrefix.size(), name.size() - affixes));
}

/// Removes the file unless a process is writing it.
void removeIfAbandoned(const path& temporary) {
    try {
        const FileDescriptor file(temporary, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
        // A shared lock, because network file systems require write permission for an exclusive one.
        if (S_ISREG(file.status().st_mode) && ::flock(file.get(), LOCK_SH | LOCK_NB) == 0) {
            ::unlink(temporary.c_str());
        }
    } catch (const std::system_error&) {
        return;
    }
}

}  // namespace

std::string readFile(const path& path, std::size_t maximumSize) {
    // Without O_NONBLOCK, opening a named pipe would wait for its writer.
    const FileDescriptor file(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    const auto status = file.status();
    requireRegular(status);
    if (std::cmp_greater(status.st_size, maximumSize)) {
        fail(EFBIG);
    }
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(status.st_size));
    std::array<char, 65536> buffer;
    while (bytes.size() <= maximumSize) {
        const auto count = checked([&] { return ::read(file.get(), buffer.data(), buffer.size()); });
        if (count == 0) {
            return bytes;
        }
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
    fail(EFBIG);
}

void AtomicFile::removeAbandoned(const path& target) {
    try {
        for (const auto& entry : std::filesystem::directory_iterator(folderOf(followLinks(target)))) {
            if (isTemporaryName(entry.path().filename().native())) {
                removeIfAbandoned(entry.path());
            }
        }
    } catch (const std::system_error&) {
        // A folder that does not exist or cannot be listed holds nothing to remove.
        return;
    }
}

AtomicFile::AtomicFile(const path& target, std::string_view bytes) : target_(followLinks(target)) {
    const auto old = permissions(target_);
    const ::mode_t wanted = old ? *old | S_IRUSR : kDefaultPermissions;
    createTemporary(wanted);
    try {
        struct ::stat status {};
        checked([&] { return ::fstat(descriptor_, &status); });
        // Only if they differ: file systems without permissions refuse every change.
        if (old && (status.st_mode & kPermissions) != wanted) {
            checked([&] { return ::fchmod(descriptor_, wanted); });
        }
        writeAll(descriptor_, bytes);
        checked([&] { return ::fsync(descriptor_); });
    } catch (...) {
        discard();
        throw;
    }
}

AtomicFile::~AtomicFile() {
    discard();
}

void AtomicFile::createTemporary(unsigned permissions) {
    for (;;) {
        temporary_ =
            folderOf(target_) / std::string(kTemporaryPrefix).append(UUID::random().text()).append(kTemporarySuffix);
        descriptor_ = checked(
            [&] { return ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, ::mode_t(permissions)); });
        // File systems without locks ignore this, and there no process removes the file.
        while (::flock(descriptor_, LOCK_EX) != 0 && errno == EINTR) {
        }
        // Before it was locked the file looked abandoned, so another process may have removed it.
        if (::access(temporary_.c_str(), F_OK) == 0 || errno != ENOENT) {
            return;
        }
        ::close(descriptor_);
    }
}

void AtomicFile::discard() {
    if (!isCommitted_) {
        ::unlink(temporary_.c_str());
        if (isOldMoved_) {
            static_cast<void>(::rename(kept_.c_str(), target_.c_str()));
        } else if (!kept_.empty()) {
            ::unlink(kept_.c_str());
        }
    }
    ::close(descriptor_);
}

void AtomicFile::keepOld(const path& name) {
    if (::link(target_.c_str(), name.c_str()) != 0) {
        // Some file systems have no hard links, and some files may not be linked to.
        if (errno == EEXIST || std::filesystem::exists(std::filesystem::symlink_status(name))) {
            fail(EEXIST);
        }
        checked([&] { return ::rename(target_.c_str(), name.c_str()); });
        isOldMoved_ = true;
    }
    kept_ = name;
    // The new name must be on the disk before the old name is given to another file.
    syncFolder(folderOf(target_));
}

void AtomicFile::commit() {
    checked([&] { return ::rename(temporary_.c_str(), target_.c_str()); });
    isCommitted_ = true;
    syncFolder(folderOf(target_));
}

}  // namespace corvel
