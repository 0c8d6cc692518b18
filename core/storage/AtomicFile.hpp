#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace corvel {

/// A regular file's bytes. Throws `std::system_error`, also for anything that is no regular file, and with
/// `file_too_large`, without reading on, for more than `maximumSize` bytes.
[[nodiscard]] std::string readFile(const std::filesystem::path& path, std::size_t maximumSize);

/// New content for a file, prepared beside it and then put in its place in one step, so that at every moment, a power
/// cut included, the file is whole: the old one or the new one.
class AtomicFile {
public:
    /// Removes the temporary files that dead processes left in the folder of `target`. The files of living ones are
    /// locked, which ends with the process. Never fails.
    static void removeAbandoned(const std::filesystem::path& target);

    /// Writes `bytes` to a temporary file in the folder of `target`, with the permissions of the file at `target` if
    /// there is one, but readable for its owner, and waits until they are on the disk. A symbolic link at `target` is
    /// followed, also to a file that does not exist yet. Throws `std::system_error`, also if `target` exists and is no
    /// regular file.
    AtomicFile(const std::filesystem::path& target, std::string_view bytes);

    /// Removes the temporary file unless it was put in place; the old file then has its own name only.
    ~AtomicFile();

    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// The file that is replaced: the one that links lead to.
    [[nodiscard]] const std::filesystem::path& target() const { return target_; }

    /// Has the old file stay when it is replaced, under this name in the same folder. Once only, before `commit`. Takes
    /// no room on the disk and need not read the file. Where the file system has no hard links the file is renamed at
    /// once, and the old name is free until `commit`. Throws `std::system_error`, with `file_exists` if there is
    /// anything of this name.
    void keepOld(const std::filesystem::path& name);

    /// Puts the new content in place; once only. Throws `std::system_error`; the old file is then intact.
    void commit();

private:
    void createTemporary(unsigned permissions);
    /// Undoes all that was done.
    void discard();

    std::filesystem::path target_;
    std::filesystem::path temporary_;
    /// Holds the lock of the temporary file.
    int descriptor_ = -1;
    std::filesystem::path kept_;
    bool isOldMoved_ = false;
    bool isCommitted_ = false;
};

}  // namespace corvel
