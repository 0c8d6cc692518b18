#pragma once

#include "benchmarks/wire/Measurement.hpp"
#include "benchmarks/wire/ProcessTracer.hpp"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace corvel::benchmarks {

/// Median and bounds of the samples.
struct Spread {
    double median = 0;
    double minimum = 0;
    double maximum = 0;
};

/// What the routing thread does in user space from the return of the read that brought the messages to the entry of the
/// write with which the last of them leaves.
struct InstructionCount {
    /// Messages of one read.
    std::size_t messages = 0;
    /// Instructions; one with a repeat prefix counts once.
    Spread instructions;
    /// Writes to the sequencer with which the messages left.
    Spread writes;
    /// System calls between, without those writes and without reads of the clock.
    Spread otherCalls;
    /// All samples together; reads of the clock included.
    std::map<std::string, std::size_t> otherCallsByName;

    /// Instructions for each message but the first.
    [[nodiscard]] double forEachFurther(const InstructionCount& alone) const {
        return (instructions.median - alone.instructions.median) / static_cast<double>(messages - alone.messages);
    }
};

/// Steps through the routing thread of a traced router, whose threads run freely before and after. The thread stands
/// while the messages are sent, so that one read brings them all. Throws if it does not, or a message is lost.
[[nodiscard]] InstructionCount countInstructions(ProcessTracer& tracer, pid_t routingThread, Wire& wire,
                                                 std::size_t messages, std::size_t samples);

}  // namespace corvel::benchmarks
