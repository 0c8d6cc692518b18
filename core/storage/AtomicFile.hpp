#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace corvel {

/// What tells a file from every other one, and from itself once its content has changed.
struct FileStamp {
    std::uint64_t device = 0;
    std::uint64_t index = 0;
    std::int64_t size = 0;
    /// Of the last change of the content, since the epoch.
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;

    bool operator==(const FileStamp&) const = default;
};

/// The stamp of the file that `path` leads to; no value if there is none or it cannot be told. Does not read the file.
[[nodiscard]] std::optional<FileStamp> fileStamp(const std::filesystem::path& path);

/// A regular file's bytes. Throws `std::system_error`, also for anything that is no regular file.
[[nodiscard]] std::string readFile(const std::filesystem::path& path);

/// Writes `bytes` to a new file with the permissions of the file `model`, and waits until they are on the disk. Throws
/// `std::system_error`, with `file_exists` if there is anything of this name; nothing is then left behind.
void createFile(const std::filesystem::path& path, std::string_view bytes, const std::filesystem::path& model);

/// New content for a file, prepared beside it and then put in its place in one step, so that at every moment, a power
/// cut included, the file is whole: the old one or the new one.
class AtomicFile {
public:
    /// Writes `bytes` to a temporary file in the folder of `target`, with the permissions of the file at `target` if
    /// there is one, and waits until they are on the disk. A symbolic link at `target` is followed, also to a file that
    /// does not exist yet. Throws `std::system_error`, also if `target` exists and is no regular file.
    AtomicFile(const std::filesystem::path& target, std::string_view bytes);

    /// Removes the temporary file unless it was put in place.
    ~AtomicFile();

    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Puts the new content in place; once only. Throws `std::system_error`; the old file is then intact.
    void commit();

    /// The stamp that the new content has, before and after it is put in place.
    [[nodiscard]] const FileStamp& stamp() const { return stamp_; }

private:
    std::filesystem::path target_;
    std::filesystem::path temporary_;
    FileStamp stamp_;
    bool isCommitted_ = false;
};

}  // namespace corvel
