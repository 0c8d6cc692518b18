#include "benchmarks/wire/InstructionCount.hpp"

#include "benchmarks/wire/CallCount.hpp"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace corvel::benchmarks {

namespace {

/// Pause between two samples, so that the router can finish its remaining work.
constexpr std::chrono::milliseconds kRest{30};

struct Sample {
    double instructions = 0;
    double writes = 0;
    double otherCalls = 0;
};

Spread spreadOf(std::vector<double> values) {
    std::ranges::sort(values);
    return {values[values.size() / 2], values.front(), values.back()};
}

/// The next stop of this thread; other threads run freely.
TraceStop nextOf(ProcessTracer& tracer, pid_t thread) {
    while (const auto stop = tracer.next()) {
        if (stop->thread == thread) {
            return *stop;
        }
        tracer.runFreely(stop->thread);
    }
    throw std::runtime_error("a child ended unexpectedly");
}

/// Runs until the thread returns from a read with messages. Returns their number.
std::size_t runToRead(ProcessTracer& tracer, pid_t thread) {
    while (true) {
        tracer.runToCall(thread);
        if (nextOf(tracer, thread).reason != TraceStop::Reason::callReturn) {
            continue;
        }
        const SystemCall call = tracer.call(thread);
        if (call.result > 0 && isSequencerRead(tracer, call)) {
            return static_cast<std::size_t>(call.result) / sizeof(snd_seq_event_t);
        }
    }
}

/// Steps until the write of the last message is about to enter the kernel.
Sample stepToLastWrite(ProcessTracer& tracer, pid_t thread, std::size_t messages,
                       std::map<std::string, std::size_t>& otherCalls) {
    Sample sample;
    std::size_t written = 0;
    unsigned long address = tracer.instructionPointer(thread);
    while (true) {
        if (tracer.isCallInstruction(thread, address)) {
            const SystemCall call = tracer.call(thread);
            if (isSequencerWrite(tracer, call)) {
                ++sample.writes;
                written += call.arguments[2] / sizeof(snd_seq_event_t);
                if (written >= messages) {
                    return sample;
                }
            } else {
                ++otherCalls[callName(tracer, call)];
                sample.otherCalls += isClockRead(call) ? 0 : 1;
            }
        }
        tracer.step(thread);
        if (nextOf(tracer, thread).reason != TraceStop::Reason::step) {
            continue;
        }
        const unsigned long next = tracer.instructionPointer(thread);
        // An instruction with a repeat prefix stops after each repetition.
        sample.instructions += next != address ? 1 : 0;
        address = next;
    }
}

}  // namespace

InstructionCount countInstructions(ProcessTracer& tracer, pid_t routingThread, Wire& wire, std::size_t messages,
                                   std::size_t samples) {
    InstructionCount count;
    count.messages = messages;
    std::vector<double> instructions;
    std::vector<double> writes;
    std::vector<double> otherCalls;
    for (std::size_t number = 0; number < samples; ++number) {
        std::this_thread::sleep_for(kRest);
        tracer.pause(routingThread);
        wire.sendTogether(number * messages, messages);
        if (runToRead(tracer, routingThread) != messages) {
            throw std::runtime_error("one read did not bring all messages");
        }
        const Sample sample = stepToLastWrite(tracer, routingThread, messages, count.otherCallsByName);
        tracer.runFreely(routingThread);
        if (!wire.receiveTogether(messages)) {
            throw std::runtime_error("a message was lost");
        }
        instructions.push_back(sample.instructions);
        writes.push_back(sample.writes);
        otherCalls.push_back(sample.otherCalls);
    }
    count.instructions = spreadOf(instructions);
    count.writes = spreadOf(writes);
    count.otherCalls = spreadOf(otherCalls);
    return count;
}

}  // namespace corvel::benchmarks
