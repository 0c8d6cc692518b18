#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {

/// Another program that a test starts, and that ends with the test at the latest. Belongs to one thread.
class ChildProcess {
public:
    /// Starts `arguments[0]` from the path. `input` becomes its standard input, which stays open until `closeInput()`.
    /// Throws `std::system_error`.
    explicit ChildProcess(const std::vector<std::string>& arguments, const std::string& input = {});
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    [[nodiscard]] pid_t pid() const { return pid_; }
    void closeInput();
    void signal(int number) const;
    /// Its resident memory in KiB: current ("VmRSS") or maximum ("VmHWM"); -1 if it has ended.
    [[nodiscard]] long memoryKiB(const std::string& field) const;

    /// The exit status, or the negative number of the signal that ended it; no value if it still runs after the limit.
    [[nodiscard]] std::optional<int> wait(std::chrono::milliseconds limit);

    /// The output so far.
    [[nodiscard]] const std::string& standardOutput();
    [[nodiscard]] const std::string& standardError();

    /// Waits until the text is in standard output or standard error; false after the limit.
    [[nodiscard]] bool waitForOutput(const std::string& text, std::chrono::milliseconds limit);
    [[nodiscard]] bool waitForError(const std::string& text, std::chrono::milliseconds limit);

private:
    struct Stream {
        int descriptor = -1;
        std::string text;
    };

    static void readInto(Stream& stream);
    [[nodiscard]] static bool waitFor(Stream& stream, const std::string& text, std::chrono::milliseconds limit);

    pid_t pid_ = -1;
    int process_ = -1;
    int input_ = -1;
    Stream output_;
    Stream error_;
    std::optional<int> status_;
};

}  // namespace corvel::tests
