#pragma once

#include "benchmarks/wire/Measurement.hpp"
#include "benchmarks/wire/ProcessTracer.hpp"

#include <cstddef>
#include <map>
#include <string>

namespace corvel::benchmarks {

/// How fast notes are played, and how many of them.
struct Rate {
    int perSecond = 0;
    std::size_t notes = 0;
};

/// The system calls of a router's whole process while notes came alone.
struct CallCount {
    std::size_t notes = 0;
    /// Notes a second that were played: tracing makes a router slow, and each note waits for the one before.
    double rate = 0;
    /// How many reads brought the notes; as many as there are notes if each came alone.
    std::size_t reads = 0;
    std::size_t calls = 0;
    /// Those of them that the thread made that read the notes.
    std::size_t routingCalls = 0;
    /// Reads of the clock, not in `calls`: they are system calls only where the kernel answers none in user space.
    std::size_t clockReads = 0;
    /// By thread, call and what the call is on: "corvel.engine: read /dev/snd/seq".
    std::map<std::string, std::size_t> callsByName;
    /// The thread that read the notes.
    pid_t routingThread = 0;

    [[nodiscard]] double perNote(std::size_t count) const {
        return static_cast<double>(count) / static_cast<double>(notes);
    }
    [[nodiscard]] double perNote() const { return perNote(calls); }
};

/// Whether the call only reads the clock, which most kernels let programs do without a system call.
[[nodiscard]] bool isClockRead(const SystemCall& call);

/// The call and what it is on: "read /dev/snd/seq", "write anon_inode:[eventfd]".
[[nodiscard]] std::string callName(const ProcessTracer& tracer, const SystemCall& call);

/// Whether the call reads from the sequencer, or writes to it.
[[nodiscard]] bool isSequencerRead(const ProcessTracer& tracer, const SystemCall& call);
[[nodiscard]] bool isSequencerWrite(const ProcessTracer& tracer, const SystemCall& call);

/// Plays notes through the router that is traced, whose threads all run to their next call. Throws if a note is lost.
[[nodiscard]] CallCount countCalls(ProcessTracer& tracer, Wire& wire, const Rate& rate);

}  // namespace corvel::benchmarks
