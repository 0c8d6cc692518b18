#include "core/storage/AtomicFile.hpp"

#include "core/support/UUID.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace corvel {

namespace {

using std::filesystem::path;

/// As many as the system itself follows.
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
    FileDescriptor(const path& file, int flags, ::mode_t permissions = 0)
        : value_(checked([&] { return ::open(file.c_str(), flags | O_CLOEXEC, permissions); })) {}
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

FileStamp stampOf(const struct ::stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

void requireRegular(const struct ::stat& status) {
    if (!S_ISREG(status.st_mode)) {
        fail(S_ISDIR(status.st_mode) ? EISDIR : EOPNOTSUPP);
    }
}

/// The permissions of the regular file at `file`; no value if there is nothing.
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

/// The place that `file` stands for when links at its end are followed, whether or not something is there.
path followLinks(path file) {
    for (int followed = 0; followed <= kMaxLinks; ++followed) {
        if (!std::filesystem::is_symlink(std::filesystem::symlink_status(file))) {
            return file;
        }
        file = file.parent_path() / std::filesystem::read_symlink(file);
    }
    fail(ELOOP);
}

void writeAll(const FileDescriptor& file, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = checked([&] { return ::write(file.get(), bytes.data(), bytes.size()); });
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

/// Without `wanted` the new file gets the permissions that the user's programs give their files.
FileStamp writeNewFile(const path& name, std::string_view bytes, std::optional<::mode_t> wanted) {
    const FileDescriptor file(name, O_WRONLY | O_CREAT | O_EXCL, wanted.value_or(kDefaultPermissions));
    try {
        // Only where they differ: file systems without permissions of their own refuse every change.
        if (wanted && (file.status().st_mode & kPermissions) != *wanted) {
            checked([&] { return ::fchmod(file.get(), *wanted); });
        }
        writeAll(file, bytes);
        checked([&] { return ::fsync(file.get()); });
        return stampOf(file.status());
    } catch (...) {
        ::unlink(name.c_str());
        throw;
    }
}

path folderOf(const path& file) {
    return file.has_parent_path() ? file.parent_path() : path(".");
}

/// Makes the names in a folder last through a power cut, as far as the file system can. A failure is not passed on:
/// the names are in place by then, and callers would take it for a sign that they are not.
void syncFolder(const path& folder) {
    try {
        const FileDescriptor directory(folder, O_RDONLY | O_DIRECTORY);
        checked([&] { return ::fsync(directory.get()); });
    } catch (const std::system_error&) {
        return;
    }
}

}  // namespace

std::optional<FileStamp> fileStamp(const path& path) {
    struct ::stat status {};
    return ::stat(path.c_str(), &status) == 0 ? std::optional(stampOf(status)) : std::nullopt;
}

std::string readFile(const path& path) {
    // Opening a named pipe would otherwise wait for its writer.
    const FileDescriptor file(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    const auto status = file.status();
    requireRegular(status);
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(status.st_size));
    std::array<char, 65536> buffer;
    for (;;) {
        const auto count = checked([&] { return ::read(file.get(), buffer.data(), buffer.size()); });
        if (count == 0) {
            return bytes;
        }
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

void createFile(const path& path, std::string_view bytes, const std::filesystem::path& model) {
    writeNewFile(path, bytes, permissions(model));
    syncFolder(folderOf(path));
}

AtomicFile::AtomicFile(const path& target, std::string_view bytes) : target_(followLinks(target)) {
    const auto wanted = permissions(target_);
    for (;;) {
        temporary_ = folderOf(target_) / (".corvel-" + UUID::random().text() + ".tmp");
        try {
            stamp_ = writeNewFile(temporary_, bytes, wanted);
            return;
        } catch (const std::system_error& error) {
            // A name that a killed process left behind must not stand in the way of every later save.
            if (error.code() != std::errc::file_exists) {
                throw;
            }
        }
    }
}

AtomicFile::~AtomicFile() {
    if (!isCommitted_) {
        ::unlink(temporary_.c_str());
    }
}

void AtomicFile::commit() {
    checked([&] { return ::rename(temporary_.c_str(), target_.c_str()); });
    isCommitted_ = true;
    syncFolder(folderOf(target_));
}

}  // namespace corvel
