// Floods the router: four senders at 24,000 messages a second each, all connected to one receiver that never reads and
// to one that does. Measures the router's memory and whether it still answers commands.
//
// usage: flood_benchmark [SECONDS]    (60 otherwise)
// Exit status: 1 if Corvel exceeds a limit.

#include "tests/support/ChildProcess.hpp"
#include "tests/support/ConnectionsFile.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/SequencerPeer.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace corvel::benchmarks {

namespace {

using std::chrono::steady_clock;

constexpr std::size_t kSenders = 4;
constexpr double kRate = 24'000;
constexpr std::chrono::milliseconds kTick{1};
constexpr std::size_t kMaxWrite = 500;
constexpr std::size_t kMaxPool = 2000;
constexpr std::chrono::seconds kSampleInterval{2};
constexpr std::chrono::seconds kAnswerGivenUp{10};
/// No message may arrive later than this after the flood.
constexpr std::chrono::seconds kAfterwards{5};
constexpr const char* kPortName = "Port";
constexpr double kMemoryLimit = 150;
constexpr double kAnswerLimit = 1;
constexpr double kEndLimit = 1;
/// Above this the measurement ends, to protect the machine.
constexpr double kMemoryGivenUp = 1000;

double seconds(steady_clock::duration time) {
    return std::chrono::duration<double>(time).count();
}

/// A program that plays notes at a steady rate on its own thread.
class Sender {
public:
    explicit Sender(const std::string& name)
        : name_(name), peer_(name), port_(peer_.addPort(kPortName, tests::SequencerPeer::kSource)) {}
    ~Sender() { stop(); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] tests::SequencerAddress port() const { return port_; }
    /// The number of messages that the sequencer accepted.
    [[nodiscard]] std::size_t sent() const { return sent_; }

    void start() {
        thread_ = std::thread([this] { play(); });
    }
    void stop() {
        isStopping_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
    }

private:
    void play() {
        snd_seq_event_t note = tests::noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 100);
        note.source.port = port_.raw().port;
        note.dest = {SND_SEQ_ADDRESS_SUBSCRIBERS, SND_SEQ_ADDRESS_UNKNOWN};
        note.queue = SND_SEQ_QUEUE_DIRECT;
        const std::vector<snd_seq_event_t> notes(kMaxWrite, note);
        pollfd descriptor{};
        snd_seq_poll_descriptors(peer_.handle(), &descriptor, 1, POLLOUT);
        const auto start = steady_clock::now();
        std::size_t tried = 0;
        while (!isStopping_) {
            const auto due = static_cast<std::size_t>(seconds(steady_clock::now() - start) * kRate);
            for (std::size_t size = 0; tried < due; tried += size) {
                size = std::min(due - tried, kMaxWrite);
                const ssize_t written = write(descriptor.fd, notes.data(), size * sizeof(snd_seq_event_t));
                // Messages that the sequencer refuses are skipped: this sender never waits.
                sent_ += written > 0 ? static_cast<std::size_t>(written) / sizeof(snd_seq_event_t) : 0;
            }
            std::this_thread::sleep_for(kTick);
        }
    }

    std::string name_;
    tests::SequencerPeer peer_;
    tests::SequencerAddress port_;
    std::atomic<std::size_t> sent_ = 0;
    std::atomic<bool> isStopping_ = false;
    std::thread thread_;
};

/// A program that receives and counts messages on its own thread.
class Receiver {
public:
    explicit Receiver(const std::string& name) : peer_(name) {
        peer_.setInputPool(kMaxPool);
        peer_.addPort(kPortName, tests::SequencerPeer::kDestination);
        thread_ = std::thread([this] { read(); });
    }
    ~Receiver() {
        isStopping_ = true;
        thread_.join();
    }
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    [[nodiscard]] std::size_t received() const { return received_; }
    /// How often the sequencer dropped all waiting messages because this program did not read in time.
    [[nodiscard]] std::size_t overruns() const { return overruns_; }
    [[nodiscard]] steady_clock::time_point lastArrival() const { return lastArrival_; }

private:
    void read() {
        pollfd descriptor{};
        snd_seq_poll_descriptors(peer_.handle(), &descriptor, 1, POLLIN);
        constexpr int kLookMs = 100;
        while (!isStopping_) {
            if (poll(&descriptor, 1, kLookMs) <= 0) {
                continue;
            }
            std::size_t count = 0;
            int status = 0;
            for (snd_seq_event_t* event = nullptr; (status = snd_seq_event_input(peer_.handle(), &event)) >= 0;) {
                ++count;
            }
            overruns_ += status == -ENOSPC ? 1 : 0;
            received_ += count;
            lastArrival_ = steady_clock::now();
        }
    }

    tests::SequencerPeer peer_;
    std::atomic<std::size_t> received_ = 0;
    std::atomic<std::size_t> overruns_ = 0;
    std::atomic<steady_clock::time_point> lastArrival_ = steady_clock::now();
    std::atomic<bool> isStopping_ = false;
    std::thread thread_;
};

double residentMegabytes(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string word; status >> word;) {
        if (word == "VmRSS:") {
            double kilobytes = 0;
            status >> kilobytes;
            return kilobytes / 1024;
        }
    }
    throw std::runtime_error("the router ended");
}

/// The time in seconds of a command that lists the running router's sets.
double answerTime(const std::filesystem::path& document) {
    const auto start = steady_clock::now();
    tests::ChildProcess question({CORVEL_PROGRAM, "--sets", "--document", document.string()});
    const auto status = question.wait(kAnswerGivenUp);
    if (status && *status != 0) {
        std::printf("    --sets: status %d, %s", *status, question.standardError().c_str());
    }
    return status == 0 ? seconds(steady_clock::now() - start) : seconds(kAnswerGivenUp);
}

bool isWithin(const char* what, double value, double limit) {
    const bool isMet = value <= limit;
    std::printf("%s: %.2f, limit %.0f: %s\n", what, value, limit, isMet ? "within" : "BEYOND");
    return isMet;
}

int run(std::chrono::seconds duration) {
    const tests::TemporaryFolder folder;
    // Its own settings, so that no other instance answers.
    const tests::ScopedEnvironment settings("XDG_CONFIG_HOME", (folder / "config").string());
    const tests::ScopedEnvironment data("XDG_DATA_HOME", (folder / "data").string());
    const tests::ScopedEnvironment runtime("XDG_RUNTIME_DIR", folder.path().string());
    std::vector<std::unique_ptr<Sender>> senders;
    tests::SequencerPeer full("Full Receiver");
    full.addPort(kPortName, tests::SequencerPeer::kDestination);
    const Receiver good("Good Receiver");
    tests::ConnectionsFile file;
    for (std::size_t number = 1; number <= kSenders; ++number) {
        senders.push_back(std::make_unique<Sender>("Flood Sender " + std::to_string(number)));
        for (const char* receiver : {"Full Receiver", "Good Receiver"}) {
            file.add({.sourceID = tests::endpointID("source", senders.back()->name(), 0, kPortName),
                      .destinationID = tests::endpointID("destination", receiver, 0, kPortName)});
        }
    }
    const std::filesystem::path document = folder / "flood.json";
    file.write(document);
    // Its output is read at once, as by a terminal.
    const tests::ChildProcess router({"/bin/sh", "-c",
                                      R"(exec "$0" --headless --midi alsa --document "$1" 2>/dev/null)", CORVEL_PROGRAM,
                                      document.string()});
    const auto isConnected = [&](const auto& sender) { return !full.subscribers(sender->port()).empty(); };
    if (!full.readUntil([&] { return std::ranges::all_of(senders, isConnected); })) {
        throw std::runtime_error("the router does not connect the senders");
    }
    const auto sent = [&] {
        std::size_t all = 0;
        for (const auto& sender : senders) {
            all += sender->sent();
        }
        return all;
    };
    double maxMemory = 0;
    double slowestAnswer = 0;
    const auto start = steady_clock::now();
    const auto sample = [&](const char* when) {
        const double answer = answerTime(document);
        const double memory = residentMegabytes(router.pid());
        maxMemory = std::max(maxMemory, memory);
        slowestAnswer = std::max(slowestAnswer, answer);
        std::printf("%6.1f s, %s: VmRSS %6.1f MB | --sets %6.3f s | sent %9zu | good receiver %9zu, overruns %zu\n",
                    seconds(steady_clock::now() - start), when, memory, answer, sent(), good.received(),
                    good.overruns());
        std::fflush(stdout);
        return memory;
    };
    sample("before");
    for (const auto& sender : senders) {
        sender->start();
    }
    for (auto next = start; steady_clock::now() - start < duration;) {
        next = std::max(next + kSampleInterval, steady_clock::now());
        std::this_thread::sleep_until(next);
        if (sample("flood") > kMemoryGivenUp) {
            break;
        }
    }
    for (const auto& sender : senders) {
        sender->stop();
    }
    const auto end = steady_clock::now();
    sample("end");
    std::this_thread::sleep_until(end + kAfterwards);
    sample("afterwards");
    std::printf("\n");
    const bool isMemoryMet = isWithin("maximum memory, MB", maxMemory, kMemoryLimit);
    const bool isAnswerMet = isWithin("slowest answer, s", slowestAnswer, kAnswerLimit);
    const double late = std::max(0.0, seconds(good.lastArrival() - end));
    const bool isEndMet = isWithin("the good receiver's last message after the end, s", late, kEndLimit);
    return isMemoryMet && isAnswerMet && isEndMet ? 0 : 1;
}

}  // namespace

}  // namespace corvel::benchmarks

int main(int argc, char** argv) {
    try {
        return corvel::benchmarks::run(std::chrono::seconds(argc > 1 ? std::stoi(argv[1]) : 60));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "flood_benchmark: %s\n", error.what());
        return 1;
    }
}
