#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace corvel {

/// The bytes of a regular file. Throws `std::system_error` if it cannot be read or is not a regular file, and with
/// `file_too_large`, without reading on, if it has more than `maximumSize` bytes.
[[nodiscard]] std::string readFile(const std::filesystem::path& path, std::size_t maximumSize);

/// New content for a file. It is written to a temporary file in the same folder, which then replaces the file in one
/// step. So the file is complete at every moment, even after a power cut: either the old one or the new one.
class AtomicFile {
public:
    /// Removes the temporary files that dead processes left in the folder of `target`. Files of running processes are
    /// locked until the process ends. Never fails.
    static void removeAbandoned(const std::filesystem::path& target);

    /// Writes `bytes` to a temporary file in the folder of `target` and waits until they are on the disk. The temporary
    /// file gets the permissions of the file at `target`, if there is one, and is always readable for its owner. A
    /// symbolic link at `target` is followed, even to a file that does not exist yet. Throws `std::system_error`, also
    /// if `target` exists and is not a regular file.
    AtomicFile(const std::filesystem::path& target, std::string_view bytes);

    /// Removes the temporary file, and the second name of the old file, unless the new content is in place.
    ~AtomicFile();

    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// The file that is replaced, after following links.
    [[nodiscard]] const std::filesystem::path& target() const { return target_; }

    /// Keeps the old file under this name in the same folder when it is replaced. Once only, before `commit`. Needs no
    /// space on the disk and does not read the file. If the file system has no hard links, the file is renamed at once,
    /// and its old name is unused until `commit`. Throws `std::system_error`, with `file_exists` if the name is in use.
    void keepOld(const std::filesystem::path& name);

    /// Puts the new content in place. Once only. Throws `std::system_error`; the old file is then intact.
    void commit();

private:
    void createTemporary(unsigned permissions);
    /// Undoes all that was done.
    void discard();

    std::filesystem::path target_;
    std::filesystem::path temporary_;
    /// Holds the lock of the temporary file.
    int descriptor_;
    std::filesystem::path kept_;
    bool isOldMoved_ = false;
    bool isCommitted_ = false;
};

}  // namespace corvel
