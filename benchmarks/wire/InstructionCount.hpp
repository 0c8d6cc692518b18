#pragma once

#include "benchmarks/wire/Measurement.hpp"
#include "benchmarks/wire/ProcessTracer.hpp"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace corvel::benchmarks {

/// Median, minimum and maximum of the samples.
struct Spread {
    double median = 0;
    double minimum = 0;
    double maximum = 0;
};

/// The routing thread's work in user space, from the return of the read of the messages to the entry of the write that
/// sends the last of them.
struct InstructionCount {
    /// The number of messages in one read.
    std::size_t messages = 0;
    /// Instructions; an instruction with a repeat prefix counts once.
    Spread instructions;
    /// Writes to the sequencer that sent the messages.
    Spread writes;
    /// System calls in between, without those writes and without reads of the clock.
    Spread otherCalls;
    /// All samples together; includes reads of the clock.
    std::map<std::string, std::size_t> otherCallsByName;

    /// Instructions for each message after the first.
    [[nodiscard]] double forEachFurther(const InstructionCount& alone) const {
        return (instructions.median - alone.instructions.median) / static_cast<double>(messages - alone.messages);
    }
};

/// Single-steps the routing thread of a traced router, whose threads run freely before and after. The thread is stopped
/// while the messages are sent, so that one read receives all of them. Throws if it does not, or if a message is lost.
[[nodiscard]] InstructionCount countInstructions(ProcessTracer& tracer, pid_t routingThread, Wire& wire,
                                                 std::size_t messages, std::size_t samples);

}  // namespace corvel::benchmarks
