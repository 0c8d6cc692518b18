#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>

namespace corvel {

/// The lock file that makes one process of a user the instance, and the path of the instance's socket in the same
/// folder.
///
/// Both are in the folder `corvel` of the user's runtime folder: `$XDG_RUNTIME_DIR`, or `/run/user/UID` if the variable
/// is not set. The two folders must belong to this user, and only the user may write there, so that another user can
/// neither hold nor remove the lock. The kernel releases the lock when its process ends, for whatever reason. The file
/// stays: if it were removed, two processes could lock two files of the same name.
class InstanceLock {
public:
    enum class Attempt {
        /// This process holds the lock until `release` or the destructor.
        taken,
        heldByAnother,
        /// There can be no lock; `problem` gives the reason.
        impossible,
    };

    /// `name` is the name of the lock file and of the socket, without their suffixes.
    explicit InstanceLock(std::string name) : name_(std::move(name)) {}
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;
    ~InstanceLock();

    /// Tries to take the lock; never waits.
    [[nodiscard]] Attempt take();
    void release();

    /// Why the last `take` was impossible: a clause for the user.
    [[nodiscard]] const std::string& problem() const { return problem_; }

    /// The PID that the holder of the lock has written into the file; no value if there is none yet.
    [[nodiscard]] std::optional<pid_t> holder() const;

    /// The path of the socket. It fits into a socket address, however long the path of the runtime folder is. Valid in
    /// this process after a `take` that was not impossible.
    [[nodiscard]] std::string socketPath() const;

private:
    [[nodiscard]] std::string lockName() const { return name_ + ".lock"; }
    [[nodiscard]] std::string lockPath() const { return folderPath_ + "/" + lockName(); }
    void openFolder();
    void openFolderIn(int runtime);
    [[nodiscard]] bool openFile();
    [[nodiscard]] bool isInPlace() const;
    void writeHolder() const;

    const std::string name_;
    std::string folderPath_;
    std::string problem_;
    int folder_ = -1;
    int file_ = -1;
};

}  // namespace corvel
