#pragma once

#include "benchmarks/wire/Measurement.hpp"
#include "benchmarks/wire/ProcessTracer.hpp"

#include <cstddef>
#include <map>
#include <string>

namespace corvel::benchmarks {

/// The rate and number of notes that are played.
struct Rate {
    int perSecond = 0;
    std::size_t notes = 0;
};

/// The system calls of a router's whole process while single notes were played.
struct CallCount {
    std::size_t notes = 0;
    /// The actual rate in notes a second. Tracing makes a router slow, and each note waits for the previous one.
    double rate = 0;
    /// The number of reads that returned notes; equal to the number of notes if each came alone.
    std::size_t reads = 0;
    std::size_t calls = 0;
    /// The calls among them by the thread that read the notes.
    std::size_t routingCalls = 0;
    /// Reads of the clock, not in `calls`: most kernels answer them in user space.
    std::size_t clockReads = 0;
    /// By thread, call and the call's file: "corvel.engine: read /dev/snd/seq".
    std::map<std::string, std::size_t> callsByName;
    /// The thread that read the notes.
    pid_t routingThread = 0;

    [[nodiscard]] double perNote(std::size_t count) const {
        return static_cast<double>(count) / static_cast<double>(notes);
    }
    [[nodiscard]] double perNote() const { return perNote(calls); }
};

/// Whether the call only reads the clock, for which most kernels need no system call.
[[nodiscard]] bool isClockRead(const SystemCall& call);

/// The call and its file: "read /dev/snd/seq", "write anon_inode:[eventfd]".
[[nodiscard]] std::string callName(const ProcessTracer& tracer, const SystemCall& call);

/// Whether the call reads from the sequencer, or writes to it.
[[nodiscard]] bool isSequencerRead(const ProcessTracer& tracer, const SystemCall& call);
[[nodiscard]] bool isSequencerWrite(const ProcessTracer& tracer, const SystemCall& call);

/// Plays notes through the traced router; all its threads must be running to their next call. Throws if a note is lost.
[[nodiscard]] CallCount countCalls(ProcessTracer& tracer, Wire& wire, const Rate& rate);

}  // namespace corvel::benchmarks
