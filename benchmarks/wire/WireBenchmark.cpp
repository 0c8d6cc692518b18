// Measures routers from outside on the real sequencer, interleaved, and compares Corvel with the minimal router.
//
// usage: wire_benchmark [ROUNDS]
// Exit status: 1 if Corvel exceeds a limit.

#include "benchmarks/wire/Measurement.hpp"
#include "benchmarks/wire/Router.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <string>
#include <vector>

namespace corvel::benchmarks {

namespace {

constexpr int kRounds = 9;
/// The speed of a machine changes from second to second, so the routers take turns in each round, in changing order.
constexpr std::size_t kLatencyTurns = 8;
constexpr std::size_t kNotesPerTurn = 40;
constexpr std::size_t kFloodMessages = 10'000;
/// Maximum ratio of Corvel's median latency to that of the minimal router.
constexpr double kLatencyLimit = 1.2;

/// One figure of one router, with a value for each round.
using Samples = std::vector<double>;

double quantile(Samples samples, double part) {
    std::sort(samples.begin(), samples.end());
    return samples.empty() ? 0
                           : samples[static_cast<std::size_t>(part * static_cast<double>(samples.size() - 1) + 0.5)];
}

struct Results {
    Samples p50;
    Samples p99;
    Samples lostNotes;
    Samples rate;
    /// By the name of the burst.
    std::map<std::string, Samples> lost;
};

struct Burst {
    const char* name;
    std::size_t count;
    Writing writing;
    Receiver receiver;
};

constexpr std::array kBursts{
    Burst{"1,000, fast receiver", 1'000, Writing::batches, Receiver::fast},
    Burst{"10,000, fast receiver", 10'000, Writing::batches, Receiver::fast},
    Burst{"10,000 one by one, fast receiver", 10'000, Writing::one, Receiver::fast},
    Burst{"1,000, receiver sleeps 20 ms", 1'000, Writing::batches, Receiver::sleeping},
    Burst{"10,000, receiver sleeps 20 ms", 10'000, Writing::batches, Receiver::sleeping},
};

void measureTurn(const Router& router, Samples& times) {
    RoutedWire routed(router);
    for (const auto time : routed.wire().latencies(kNotesPerTurn)) {
        times.push_back(static_cast<double>(time.count()) / 1000);
    }
}

void measureLatencies(const std::vector<Router>& routers, std::map<std::string, Results>& results) {
    std::map<std::string, Samples> times;
    for (std::size_t turn = 0; turn < kLatencyTurns; ++turn) {
        for (std::size_t place = 0; place < routers.size(); ++place) {
            const Router& router = routers[(place + turn) % routers.size()];
            measureTurn(router, times[router.name]);
        }
    }
    for (const auto& [name, all] : times) {
        Results& own = results[name];
        own.p50.push_back(quantile(all, 0.5));
        own.p99.push_back(quantile(all, 0.99));
        own.lostNotes.push_back(static_cast<double>(kLatencyTurns * kNotesPerTurn - all.size()));
    }
}

void measureLoad(const Router& router, Results& results) {
    RoutedWire routed(router);
    results.rate.push_back(routed.wire().floodRate(kFloodMessages));
    for (const Burst& burst : kBursts) {
        results.lost[burst.name].push_back(
            static_cast<double>(routed.wire().lostOfBurst(burst.count, burst.writing, burst.receiver)));
    }
}

std::string spread(const Samples& samples) {
    std::array<char, 96> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.0f (%.0f to %.0f)", quantile(samples, 0.5), quantile(samples, 0),
                  quantile(samples, 1));
    return buffer.data();
}

void printLatency(const std::vector<Router>& routers, std::map<std::string, Results>& results) {
    const Results& minimal = results["minimal router"];
    std::printf("\n%-20s | %-26s | %-8s | %-28s | %-26s | %s\n", "median (spread)", "p50, us", "ratio", "p99, us",
                "flood, messages/s", "lost");
    for (const Router& router : routers) {
        const Results& own = results[router.name];
        std::printf("%-20s | %-26s | %-8.2f | %-28s | %-26s | %s\n", router.name.c_str(), spread(own.p50).c_str(),
                    quantile(own.p50, 0.5) / quantile(minimal.p50, 0.5), spread(own.p99).c_str(),
                    spread(own.rate).c_str(), spread(own.lostNotes).c_str());
    }
}

void printLosses(const std::vector<Router>& routers, std::map<std::string, Results>& results) {
    for (const Burst& burst : kBursts) {
        std::printf("\nlost of a burst of %s\n", burst.name);
        for (const Router& router : routers) {
            std::printf("%-20s | %s\n", router.name.c_str(), spread(results[router.name].lost[burst.name]).c_str());
        }
    }
}

/// Prints and returns whether Corvel is within its limits.
bool judge(std::map<std::string, Results>& results) {
    const Results& own = results[kCorvelName];
    const double ratio = quantile(own.p50, 0.5) / quantile(results["minimal router"].p50, 0.5);
    bool isWithin = ratio <= kLatencyLimit;
    std::printf("\nmedian p50 against the minimal router: %.2f, limit %.2f: %s\n", ratio, kLatencyLimit,
                isWithin ? "within" : "BEYOND");
    const double ahead = quantile(own.p50, 0.5) / quantile(results[kMidishName].p50, 0.5);
    std::printf("median p50 against midish: %.2f, limit 1.00: %s\n", ahead, ahead < 1 ? "within" : "BEYOND");
    isWithin = isWithin && ahead < 1;
    double most = quantile(own.lostNotes, 1);
    for (const auto& [name, lost] : own.lost) {
        most = std::max(most, quantile(lost, 1));
    }
    std::printf("most messages lost in any round: %.0f, limit 0: %s\n", most, most == 0 ? "within" : "BEYOND");
    return isWithin && most == 0;
}

int run(int rounds, const std::filesystem::path& programs) {
    const std::vector<Router> routers = makeRouters(programs, CORVEL_PROGRAM);
    std::map<std::string, Results> results;
    for (int round = 1; round <= rounds; ++round) {
        measureLatencies(routers, results);
        for (const Router& router : routers) {
            measureLoad(router, results[router.name]);
            const Results& own = results[router.name];
            std::printf("round %d, %s: p50 %.0f us, %.0f messages/s\n", round, router.name.c_str(), own.p50.back(),
                        own.rate.back());
            std::fflush(stdout);
        }
    }
    printLatency(routers, results);
    printLosses(routers, results);
    return judge(results) ? 0 : 1;
}

}  // namespace

}  // namespace corvel::benchmarks

int main(int argc, char** argv) {
    try {
        const int rounds = argc > 1 ? std::atoi(argv[1]) : corvel::benchmarks::kRounds;
        return corvel::benchmarks::run(rounds, std::filesystem::canonical(argv[0]).parent_path());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "wire_benchmark: %s\n", error.what());
        return 1;
    }
}
