// Counts by ptrace what a router's process does for a routed note: system calls, and instructions from the read of the
// note to the write that sends it. The counts do not depend on the speed or load of the machine.
//
// usage: trace_benchmark
// Exit status: 1 if Corvel exceeds a limit.

#include "benchmarks/wire/CallCount.hpp"
#include "benchmarks/wire/InstructionCount.hpp"
#include "benchmarks/wire/Measurement.hpp"
#include "benchmarks/wire/Router.hpp"

#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace corvel::benchmarks {

namespace {

constexpr std::array kRates{Rate{10, 50}, Rate{100, 200}, Rate{1000, 1000}};
constexpr double kCallLimit = 4.1;
constexpr double kFirstLimit = 1000;
constexpr double kFurtherLimit = 500;

struct Sizes {
    std::size_t messages;
    std::size_t samples;
};
constexpr std::array kSizes{Sizes{1, 30}, Sizes{2, 5}, Sizes{4, 5}, Sizes{8, 5}, Sizes{16, 5}};

struct Result {
    std::vector<CallCount> calls;
    std::vector<InstructionCount> instructions;
};

void printCalls(const std::string& router, const CallCount& count) {
    std::printf("%-18s | %5zu notes, %6.1f a second | %5.2f calls a note, %5.2f of the routing thread", router.c_str(),
                count.notes, count.rate, count.perNote(), count.perNote(count.routingCalls));
    if (count.clockReads > 0) {
        std::printf(", and %.2f reads of the clock", count.perNote(count.clockReads));
    }
    std::printf(" | %zu reads brought notes\n", count.reads);
    for (const auto& [name, calls] : count.callsByName) {
        std::printf("    %6.2f  %s\n", count.perNote(calls), name.c_str());
    }
}

void printInstructions(const std::string& router, const InstructionCount& count, const InstructionCount& alone) {
    std::printf("%-18s | %2zu messages in a read | %6.0f instructions (%.0f to %.0f)", router.c_str(), count.messages,
                count.instructions.median, count.instructions.minimum, count.instructions.maximum);
    if (count.messages > alone.messages) {
        std::printf(" | %.0f for each further", count.forEachFurther(alone));
    }
    std::printf(" | %.0f writes (%.0f to %.0f) | other calls between: %.0f (%.0f to %.0f)", count.writes.median,
                count.writes.minimum, count.writes.maximum, count.otherCalls.median, count.otherCalls.minimum,
                count.otherCalls.maximum);
    for (const auto& [name, calls] : count.otherCallsByName) {
        std::printf(", %s %zu", name.c_str(), calls);
    }
    std::printf("\n");
    std::fflush(stdout);
}

bool isWithin(const std::string& what, double value, double limit) {
    const bool isMet = value <= limit;
    std::printf("%s: %.2f, limit %.1f: %s\n", what.c_str(), value, limit, isMet ? "within" : "BEYOND");
    return isMet;
}

Result measure(const std::string& router, Wire& wire, pid_t process) {
    Result result;
    ProcessTracer tracer(process);
    // Warms up, and finds the routing thread.
    const pid_t thread = countCalls(tracer, wire, {1000, 100}).routingThread;
    for (const Rate& rate : kRates) {
        result.calls.push_back(countCalls(tracer, wire, rate));
        printCalls(router, result.calls.back());
    }
    tracer.releaseAll();
    for (const auto& [messages, samples] : kSizes) {
        result.instructions.push_back(countInstructions(tracer, thread, wire, messages, samples));
        printInstructions(router, result.instructions.back(), result.instructions.front());
    }
    return result;
}

bool judge(const Result& result) {
    bool isAllWithin = true;
    std::printf("\n%s\n", kCorvelName);
    for (std::size_t index = 0; index < kRates.size(); ++index) {
        const std::string what = "system calls of the routing thread for a note alone, " +
                                 std::to_string(kRates.at(index).perSecond) + " a second";
        isAllWithin = isWithin(what, result.calls.at(index).perNote(result.calls.at(index).routingCalls), kCallLimit) &&
                      isAllWithin;
    }
    const InstructionCount& alone = result.instructions.front();
    isAllWithin =
        isWithin("system calls from the read to the write, median", alone.otherCalls.median, 0) && isAllWithin;
    isAllWithin =
        isWithin("instructions for a note alone, median", alone.instructions.median, kFirstLimit) && isAllWithin;
    const InstructionCount& most = result.instructions.back();
    const std::string further = "instructions for each further of " + std::to_string(most.messages);
    return isWithin(further, most.forEachFurther(alone), kFurtherLimit) && isAllWithin;
}

int run(const std::filesystem::path& programs) {
    std::map<std::string, Result> results;
    for (const Router& router : makeRouters(programs, CORVEL_PROGRAM)) {
        RoutedWire routed(router);
        if (routed.process() && router.name != kMidishName) {
            std::printf("\n%s\n", router.name.c_str());
            results.emplace(router.name, measure(router.name, routed.wire(), *routed.process()));
        }
    }
    return judge(results.at(kCorvelName)) ? 0 : 1;
}

}  // namespace

}  // namespace corvel::benchmarks

int main(int, char** argv) {
    try {
        return corvel::benchmarks::run(std::filesystem::canonical(argv[0]).parent_path());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "trace_benchmark: %s\n", error.what());
        return 1;
    }
}
