#pragma once

#include <sys/types.h>

#include <array>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace corvel::benchmarks {

/// A system call as it is in the registers.
struct SystemCall {
    long number = -1;
    /// The first four arguments.
    std::array<unsigned long, 4> arguments{};
    /// Valid after the return; a negative errno if it failed.
    long result = 0;
};

/// Why a thread of the traced process has stopped.
struct TraceStop {
    enum class Reason : unsigned char {
        callEntry,
        callReturn,
        /// One instruction has run.
        step,
        /// It was interrupted, or another thread was started.
        pause,
    };

    pid_t thread = 0;
    Reason reason = Reason::pause;
};

/// Traces all threads of another process by ptrace (x86-64): stops them at system calls or after each instruction.
///
/// The counts depend only on the program, not on the speed or load of the machine. All operations belong to the thread
/// that created the tracer. A refused ptrace request throws `std::system_error`. A thread stays stopped until it is
/// resumed.
class ProcessTracer {
public:
    /// Attaches to a child of this process; all threads run on and stop at system calls.
    explicit ProcessTracer(pid_t process);
    ProcessTracer(const ProcessTracer&) = delete;
    ProcessTracer& operator=(const ProcessTracer&) = delete;
    /// Detaches.
    ~ProcessTracer();

    /// Waits for a traced thread to stop. No value if another child of this process has ended meanwhile; its status is
    /// then in `endedChildStatus()`. Throws if the traced process has ended.
    [[nodiscard]] std::optional<TraceStop> next();
    [[nodiscard]] int endedChildStatus() const { return endedChildStatus_; }

    /// Resumes a stopped thread: to its next system call or the return from it, for one instruction, or freely.
    void runToCall(pid_t thread);
    void step(pid_t thread);
    void runFreely(pid_t thread);

    /// Stops a running thread, even one that waits in a system call. Other threads that stop meanwhile then run freely.
    void pause(pid_t thread);
    /// Makes all threads that were running to their next system call run freely.
    void releaseAll();

    // For a stopped thread
    [[nodiscard]] SystemCall call(pid_t thread) const;
    [[nodiscard]] unsigned long instructionPointer(pid_t thread) const;
    /// Whether the instruction at this address makes a system call.
    [[nodiscard]] bool isCallInstruction(pid_t thread, unsigned long address);

    /// The thread's name in the kernel.
    [[nodiscard]] std::string threadName(pid_t thread) const;
    /// The file of this descriptor: a path, or a name such as "anon_inode:[eventfd]".
    [[nodiscard]] std::string openFile(unsigned long descriptor) const;

private:
    struct Thread {
        bool isInsideCall = false;
        /// A signal that the thread gets when it is resumed; 0 for none.
        int signal = 0;
    };

    void attach(pid_t thread);
    void resume(int request, pid_t thread);
    [[nodiscard]] TraceStop understand(pid_t thread, int status);

    pid_t process_;
    std::unordered_map<pid_t, Thread> threads_;
    std::unordered_map<unsigned long, bool> isCallAt_;
    int endedChildStatus_ = 0;
};

}  // namespace corvel::benchmarks
