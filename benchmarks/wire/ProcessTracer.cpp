#include "benchmarks/wire/ProcessTracer.hpp"

#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace corvel::benchmarks {

namespace {

/// Set in the signal number of a stop at a system call.
constexpr int kCallBit = 0x80;

long request(int what, pid_t thread, std::uintptr_t address, std::uintptr_t data, const char* operation) {
    errno = 0;
    // glibc names the requests in an enumeration and declares the arguments as variable.
    const long result = ptrace(static_cast<__ptrace_request>(what), thread, address, data);
    if (result == -1 && errno != 0) {
        throw std::system_error(errno, std::generic_category(), operation);
    }
    return result;
}

int waitForChange(pid_t child, int& status) {
    pid_t changed = -1;
    do {
        changed = waitpid(child, &status, __WALL);
    } while (changed < 0 && errno == EINTR);
    if (changed < 0) {
        throw std::system_error(errno, std::generic_category(), "wait for a traced thread");
    }
    return changed;
}

std::filesystem::path folderOf(pid_t process) {
    return std::filesystem::path("/proc") / std::to_string(process);
}

}  // namespace

ProcessTracer::ProcessTracer(pid_t process) : process_(process) {
    for (const auto& entry : std::filesystem::directory_iterator(folderOf(process) / "task")) {
        attach(static_cast<pid_t>(std::stol(entry.path().filename().string())));
    }
    for (const auto& [thread, state] : threads_) {
        pause(thread);
        runToCall(thread);
    }
}

ProcessTracer::~ProcessTracer() {
    for (const auto& [thread, state] : threads_) {
        // Only a stopped thread can be detached.
        if (ptrace(PTRACE_DETACH, thread, nullptr, nullptr) != 0 &&
            ptrace(PTRACE_INTERRUPT, thread, nullptr, nullptr) == 0) {
            waitpid(thread, nullptr, __WALL);
            ptrace(PTRACE_DETACH, thread, nullptr, nullptr);
        }
    }
}

void ProcessTracer::attach(pid_t thread) {
    request(PTRACE_SEIZE, thread, 0, PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE, "trace a thread");
    threads_.emplace(thread, Thread());
}

std::optional<TraceStop> ProcessTracer::next() {
    while (true) {
        int status = 0;
        const pid_t changed = waitForChange(-1, status);
        if (WIFSTOPPED(status)) {
            return understand(changed, status);
        }
        if (changed == process_) {
            threads_.clear();
            throw std::runtime_error("the traced program ended");
        }
        if (threads_.erase(changed) == 0) {
            endedChildStatus_ = status;
            return std::nullopt;
        }
    }
}

TraceStop ProcessTracer::understand(pid_t thread, int status) {
    // A newly started thread is traced from its first stop on.
    Thread& state = threads_[thread];
    const int signal = WSTOPSIG(status);
    if (signal == (SIGTRAP | kCallBit)) {
        state.isInsideCall = !state.isInsideCall;
        return {thread, state.isInsideCall ? TraceStop::Reason::callEntry : TraceStop::Reason::callReturn};
    }
    const bool isEvent = status >> 16U != 0;
    if (signal == SIGTRAP && !isEvent) {
        return {thread, TraceStop::Reason::step};
    }
    if (isEvent) {
        // An interrupted call has returned by now.
        state.isInsideCall = state.isInsideCall && status >> 16U == PTRACE_EVENT_CLONE;
    } else {
        state.signal = signal;
    }
    return {thread, TraceStop::Reason::pause};
}

void ProcessTracer::resume(int what, pid_t thread) {
    Thread& state = threads_.at(thread);
    request(what, thread, 0, static_cast<std::uintptr_t>(state.signal), "resume a thread");
    state.signal = 0;
}

void ProcessTracer::runToCall(pid_t thread) {
    resume(PTRACE_SYSCALL, thread);
}

void ProcessTracer::step(pid_t thread) {
    resume(PTRACE_SINGLESTEP, thread);
}

void ProcessTracer::runFreely(pid_t thread) {
    threads_.at(thread).isInsideCall = false;
    resume(PTRACE_CONT, thread);
}

void ProcessTracer::pause(pid_t thread) {
    request(PTRACE_INTERRUPT, thread, 0, 0, "interrupt a thread");
    int status = 0;
    waitForChange(thread, status);
    if (!WIFSTOPPED(status)) {
        throw std::runtime_error("a traced thread ended");
    }
    static_cast<void>(understand(thread, status));
}

void ProcessTracer::releaseAll() {
    for (const auto& [thread, state] : threads_) {
        pause(thread);
    }
    for (const auto& [thread, state] : threads_) {
        runFreely(thread);
    }
}

SystemCall ProcessTracer::call(pid_t thread) const {
    user_regs_struct registers{};
    request(PTRACE_GETREGS, thread, 0, reinterpret_cast<std::uintptr_t>(&registers), "read the registers");
    // Before the kernel has started the call, its number is still in the result's register.
    const auto number = static_cast<long>(registers.orig_rax);
    return {number < 0 ? static_cast<long>(registers.rax) : number,
            {registers.rdi, registers.rsi, registers.rdx, registers.r10},
            static_cast<long>(registers.rax)};
}

unsigned long ProcessTracer::instructionPointer(pid_t thread) const {
    return static_cast<unsigned long>(
        request(PTRACE_PEEKUSER, thread, offsetof(user_regs_struct, rip), 0, "read the instruction pointer"));
}

bool ProcessTracer::isCallInstruction(pid_t thread, unsigned long address) {
    const auto [found, isNew] = isCallAt_.emplace(address, false);
    if (isNew) {
        constexpr long kMask = 0xFFFF;
        constexpr long kSyscallInstruction = 0x050F;
        found->second =
            (request(PTRACE_PEEKTEXT, thread, address, 0, "read an instruction") & kMask) == kSyscallInstruction;
    }
    return found->second;
}

std::string ProcessTracer::threadName(pid_t thread) const {
    std::ifstream file(folderOf(process_) / "task" / std::to_string(thread) / "comm");
    std::string name;
    std::getline(file, name);
    return name;
}

std::string ProcessTracer::openFile(unsigned long descriptor) const {
    std::error_code error;
    return std::filesystem::read_symlink(folderOf(process_) / "fd" / std::to_string(descriptor), error).string();
}

}  // namespace corvel::benchmarks
