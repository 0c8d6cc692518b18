// Measures the latency of notes between two endpoints that do not change, while another program repeatedly opens and
// closes ports.
//
// usage: storm_benchmark [PORTS...]    (0, 16, 64, 250 and 1000 otherwise)
// Exit status: 1 if Corvel exceeds a limit.

#include "benchmarks/wire/Measurement.hpp"
#include "benchmarks/wire/Router.hpp"
#include "tests/support/SequencerPeer.hpp"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace corvel::benchmarks {

namespace {

constexpr std::size_t kNotes = 10'000;
constexpr std::chrono::milliseconds kInterval{1};
/// The sequencer allows a program 254 ports.
constexpr int kPortsPerProgram = 250;
/// The time for which the ports stay open, and closed.
constexpr std::chrono::milliseconds kPause{20};
/// Above ordinary programs, so that the storm does not delay the measurement; below Corvel.
constexpr int kMeasuringPriority = 10;

/// The maximum latency in a storm of this many ports.
double limitMilliseconds(int ports) {
    return ports <= 250 ? 10 : ports <= 1000 ? 25 : std::numeric_limits<double>::infinity();
}

[[noreturn]] void openAndClosePorts(int count) {
    std::vector<std::unique_ptr<tests::SequencerPeer>> programs;
    for (int left = count; left > 0; left -= kPortsPerProgram) {
        programs.push_back(std::make_unique<tests::SequencerPeer>("Storm " + std::to_string(programs.size() + 1)));
    }
    while (true) {
        std::vector<std::pair<tests::SequencerPeer*, tests::SequencerAddress>> ports;
        for (int number = 0; number < count; ++number) {
            tests::SequencerPeer& program = *programs[static_cast<std::size_t>(number / kPortsPerProgram)];
            ports.emplace_back(&program,
                               program.addPort("Port " + std::to_string(number), tests::SequencerPeer::kDuplex));
        }
        std::this_thread::sleep_for(kPause);
        for (const auto& [program, port] : ports) {
            program->removePort(port);
        }
        std::this_thread::sleep_for(kPause);
    }
}

/// Another program that opens and closes ports while this object exists.
class Storm {
public:
    explicit Storm(int ports) : process_(fork()) {
        if (process_ < 0) {
            throw std::runtime_error("cannot start the storm");
        }
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            try {
                openAndClosePorts(ports);
            } catch (const std::exception& error) {
                std::fprintf(stderr, "storm_benchmark: %s\n", error.what());
                _exit(1);
            }
        }
    }
    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;
    ~Storm() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }

    /// Throws if it has ended by itself, because then nothing was measured.
    void check() const {
        if (waitpid(process_, nullptr, WNOHANG) != 0) {
            throw std::runtime_error("the storm ended early");
        }
    }

private:
    pid_t process_;
};

double milliseconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

struct Result {
    double slowest = 0;
    std::size_t lost = 0;
};

Result measure(const Router& router, int ports) {
    RoutedWire routed(router);
    const Storm storm(ports);
    std::vector<std::chrono::nanoseconds> times = routed.wire().steadyLatencies(kNotes, kInterval);
    storm.check();
    std::ranges::sort(times);
    const Result result{times.empty() ? 0 : milliseconds(times.back()), kNotes - times.size()};
    const auto quantile = [&](std::size_t percent) {
        return times.empty() ? 0 : milliseconds(times[(times.size() - 1) * percent / 100]);
    };
    std::printf("%5d ports, %-20s | p50 %7.2f ms | p99 %8.2f ms | slowest %8.2f ms | lost %zu of %zu\n", ports,
                router.name.c_str(), quantile(50), quantile(99), result.slowest, result.lost, kNotes);
    std::fflush(stdout);
    return result;
}

int run(const std::vector<int>& portCounts, const std::filesystem::path& programs) {
    sched_param parameters{};
    parameters.sched_priority = kMeasuringPriority;
    // Programs started from here do not inherit the priority.
    if (sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &parameters) != 0) {
        throw std::runtime_error("no real-time priority for measuring");
    }
    const std::vector<Router> routers = makeRouters(programs, CORVEL_PROGRAM);
    bool isWithin = true;
    for (const int ports : portCounts) {
        for (const Router& router : routers) {
            const Result result = measure(router, ports);
            if (router.name == kCorvelName) {
                const bool isMet = result.slowest <= limitMilliseconds(ports) && result.lost == 0;
                std::printf("    limit %.0f ms, none lost: %s\n", limitMilliseconds(ports),
                            isMet ? "within" : "BEYOND");
                isWithin = isWithin && isMet;
            }
        }
    }
    return isWithin ? 0 : 1;
}

}  // namespace

}  // namespace corvel::benchmarks

int main(int argc, char** argv) {
    try {
        std::vector<int> ports;
        for (int index = 1; index < argc; ++index) {
            ports.push_back(std::stoi(argv[index]));
        }
        if (ports.empty()) {
            ports = {0, 16, 64, 250, 1000};
        }
        return corvel::benchmarks::run(ports, std::filesystem::canonical(argv[0]).parent_path());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "storm_benchmark: %s\n", error.what());
        return 1;
    }
}
