#include "benchmarks/wire/CallCount.hpp"

#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace corvel::benchmarks {

namespace {

using std::chrono::steady_clock;

/// Calls whose first argument is a descriptor.
constexpr std::array<std::pair<long, const char*>, 12> kDescriptorCalls{{{SYS_read, "read"},
                                                                         {SYS_write, "write"},
                                                                         {SYS_writev, "writev"},
                                                                         {SYS_ioctl, "ioctl"},
                                                                         {SYS_epoll_wait, "epoll_wait"},
                                                                         {SYS_epoll_pwait, "epoll_pwait"},
                                                                         {SYS_epoll_pwait2, "epoll_pwait2"},
                                                                         {SYS_timerfd_settime, "timerfd_settime"},
                                                                         {SYS_sendmsg, "sendmsg"},
                                                                         {SYS_recvmsg, "recvmsg"},
                                                                         {SYS_fcntl, "fcntl"},
                                                                         {SYS_readv, "readv"}}};

constexpr std::array<std::pair<long, const char*>, 14> kOtherCalls{{{SYS_poll, "poll"},
                                                                    {SYS_ppoll, "ppoll"},
                                                                    {SYS_futex, "futex"},
                                                                    {SYS_clock_gettime, "clock_gettime"},
                                                                    {SYS_gettimeofday, "gettimeofday"},
                                                                    {SYS_time, "time"},
                                                                    {SYS_nanosleep, "nanosleep"},
                                                                    {SYS_clock_nanosleep, "clock_nanosleep"},
                                                                    {SYS_setitimer, "setitimer"},
                                                                    {SYS_rt_sigreturn, "rt_sigreturn"},
                                                                    {SYS_mmap, "mmap"},
                                                                    {SYS_munmap, "munmap"},
                                                                    {SYS_madvise, "madvise"},
                                                                    {SYS_restart_syscall, "restart_syscall"}}};

constexpr const char* kSequencer = "/dev/snd/seq";

template <typename Names>
const char* nameIn(const Names& names, long number) {
    const auto found = std::ranges::find(names, number, [](const auto& entry) { return entry.first; });
    return found == names.end() ? nullptr : found->second;
}

/// Whether a thread sleeps in this call until something happens.
bool isWait(const SystemCall& call) {
    switch (call.number) {
        case SYS_poll:
            return static_cast<int>(call.arguments[2]) != 0;
        case SYS_epoll_wait:
        case SYS_epoll_pwait:
            return static_cast<int>(call.arguments[3]) != 0;
        case SYS_futex: {
            const auto operation = static_cast<int>(call.arguments[1]) & FUTEX_CMD_MASK;
            return operation == FUTEX_WAIT || operation == FUTEX_WAIT_BITSET;
        }
        case SYS_ppoll:
        case SYS_epoll_pwait2:
        case SYS_restart_syscall:
            return true;
        default:
            return false;
    }
}

/// A flag that two processes share; set at first.
class SharedFlag {
public:
    SharedFlag()
        : memory_(mmap(nullptr, sizeof(std::atomic<bool>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
        if (memory_ == MAP_FAILED) {
            throw std::system_error(errno, std::generic_category(), "share memory");
        }
        flag_ = new (memory_) std::atomic<bool>(true);
    }
    SharedFlag(const SharedFlag&) = delete;
    SharedFlag& operator=(const SharedFlag&) = delete;
    ~SharedFlag() { munmap(memory_, sizeof(std::atomic<bool>)); }

    [[nodiscard]] std::atomic<bool>& get() const { return *flag_; }

private:
    void* memory_;
    std::atomic<bool>* flag_ = nullptr;
};

/// Plays in another process, because the calling thread must follow the router meanwhile.
void startPlayer(Wire& wire, const Rate& rate, const std::atomic<bool>& isRouterAtRest) {
    const pid_t player = fork();
    if (player < 0) {
        throw std::runtime_error("cannot start a player");
    }
    if (player == 0) {
        const auto interval = std::chrono::nanoseconds(std::chrono::seconds(1)) / rate.perSecond;
        const std::size_t arrived = wire.playAlone(rate.notes, interval, [&] { return isRouterAtRest.load(); });
        _exit(arrived == rate.notes ? 0 : 1);
    }
}

}  // namespace

bool isClockRead(const SystemCall& call) {
    return call.number == SYS_clock_gettime || call.number == SYS_gettimeofday || call.number == SYS_time;
}

std::string callName(const ProcessTracer& tracer, const SystemCall& call) {
    if (const char* name = nameIn(kDescriptorCalls, call.number)) {
        return name + (" " + tracer.openFile(call.arguments[0]));
    }
    const char* name = nameIn(kOtherCalls, call.number);
    return name != nullptr ? name : "system call " + std::to_string(call.number);
}

bool isSequencerRead(const ProcessTracer& tracer, const SystemCall& call) {
    return (call.number == SYS_read || call.number == SYS_readv) && tracer.openFile(call.arguments[0]) == kSequencer;
}

bool isSequencerWrite(const ProcessTracer& tracer, const SystemCall& call) {
    return (call.number == SYS_write || call.number == SYS_writev) && tracer.openFile(call.arguments[0]) == kSequencer;
}

CallCount countCalls(ProcessTracer& tracer, Wire& wire, const Rate& rate) {
    CallCount count;
    count.notes = rate.notes;
    steady_clock::time_point first;
    steady_clock::time_point last;
    const SharedFlag isAtRest;
    // Threads that have not stopped since the beginning have been asleep since then.
    std::map<pid_t, bool> sleeping;
    std::map<pid_t, std::size_t> callsByThread;
    startPlayer(wire, rate, isAtRest.get());
    while (const auto stop = tracer.next()) {
        if (stop->reason == TraceStop::Reason::callEntry) {
            const SystemCall call = tracer.call(stop->thread);
            ++(isClockRead(call) ? count.clockReads : count.calls);
            callsByThread[stop->thread] += isClockRead(call) ? 0 : 1;
            ++count.callsByName[tracer.threadName(stop->thread) + ": " + callName(tracer, call)];
        } else if (stop->reason == TraceStop::Reason::callReturn) {
            const SystemCall call = tracer.call(stop->thread);
            if (call.result > 0 && isSequencerRead(tracer, call)) {
                last = steady_clock::now();
                first = count.reads == 0 ? last : first;
                ++count.reads;
                count.routingThread = stop->thread;
            }
        }
        sleeping[stop->thread] = stop->reason == TraceStop::Reason::callEntry && isWait(tracer.call(stop->thread));
        isAtRest.get() = std::ranges::all_of(sleeping, [](const auto& entry) { return entry.second; });
        tracer.runToCall(stop->thread);
    }
    if (!WIFEXITED(tracer.endedChildStatus()) || WEXITSTATUS(tracer.endedChildStatus()) != 0) {
        throw std::runtime_error("a note was lost");
    }
    count.routingCalls = callsByThread[count.routingThread];
    const double seconds = std::chrono::duration<double>(last - first).count();
    count.rate = count.reads > 1 ? static_cast<double>(count.reads - 1) / seconds : 0;
    return count;
}

}  // namespace corvel::benchmarks
