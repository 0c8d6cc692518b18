#pragma once

#include "tests/support/ChildProcess.hpp"
#include "tests/support/ConnectionsFile.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/SequencerPeer.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {

/// The number of endpoints that a reload reports, and of connected sources.
struct ReloadSummary {
    int sources = -1;
    int destinations = -1;
    int connections = -1;
};

/// A command that runs while the test does other things, and its duration.
class TimedCommand {
public:
    explicit TimedCommand(const std::vector<std::string>& arguments)
        : start_(std::chrono::steady_clock::now()), process_(arguments) {}

    /// Checks whether it has ended.
    [[nodiscard]] bool hasEnded();
    /// From its start to its end, or to now.
    [[nodiscard]] std::chrono::milliseconds duration() const;
    [[nodiscard]] ChildProcess& process() { return process_; }

private:
    std::chrono::steady_clock::time_point start_;
    std::optional<std::chrono::steady_clock::time_point> end_;
    ChildProcess process_;
};

/// The program without a window, run on a document of its own between other programs on the sequencer. The programs of
/// different tests do not interact. Belongs to the test's thread.
class SequencerProgramFixture : public ::testing::Test {
protected:
    /// How far players may be ahead of the receivers, in events of one cell: the sequencer keeps 2,000 for the router,
    /// which may read late on a busy machine.
    static constexpr std::size_t kEventsAhead = 1'000;
    /// If more cells arrive than this, the sequencer drops all that it keeps for a client.
    static constexpr std::size_t kMaxPool = 2'000;

    /// How often a test repeats what depends on timing: CORVEL_TEST_RUNS, or 20.
    [[nodiscard]] static int runs();

    /// Adds a connection between a source port "Out" and a destination port "In", both number 0 of their programs.
    void connect(const std::string& sourceClient, const std::string& destinationClient);
    [[nodiscard]] static std::int32_t sourceID(const std::string& client);
    [[nodiscard]] static std::int32_t destinationID(const std::string& client);

    /// Turns on, for a program that starts later, that it releases held notes when a connection changes.
    void releaseHeldNotes() const;

    /// Writes the connections to the document and starts the program on it. Returns after its first load.
    void start(const std::vector<std::string>& options = {});
    /// Starts the program on the document as it is. Returns after its first load.
    void startOnDocument(const std::vector<std::string>& options = {});
    /// The arguments of a command for the running program.
    [[nodiscard]] std::vector<std::string> command(const std::vector<std::string>& options) const;
    /// Time limit of a command, given the time `alone` of a process that asks no other one: far above the second that
    /// the router's part may take on an otherwise idle machine.
    [[nodiscard]] static std::chrono::milliseconds promptLimit(const TimedCommand& alone) {
        return 2 * alone.duration() + std::chrono::seconds(3);
    }
    /// Ends the program as its user does.
    void terminate();

    /// Stops all threads of the program, as if the machine had no time for it. Messages then wait in the sequencer.
    /// Returns when every thread is stopped.
    void halt();
    void resume() const;

    /// Waits until the condition holds; false after the deadline or if the program has ended.
    template <typename Condition>
    [[nodiscard]] bool waitUntil(Condition condition, std::chrono::milliseconds limit = kDeadline) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (!condition()) {
            if (corvel_->wait(std::chrono::milliseconds(10)) || std::chrono::steady_clock::now() > deadline) {
                return false;
            }
        }
        return true;
    }
    /// Waits until the program has connected the source.
    [[nodiscard]] bool waitUntilHeard(const SequencerPeer& peer, SequencerAddress source);
    /// Starts another program with one source port or, if it is running, ends it; then waits for the settled reload.
    void plugAndSettle();

    /// Plays numbered notes from `first` on in batches, never more ahead of the receiver than the sequencer keeps.
    /// Calls `between(notes played so far)` between two batches. The receiver has recorded `first` events before.
    template <typename Between>
    void playInBatches(SequencerPeer& player, SequencerAddress port, SequencerPeer& receiver, unsigned first,
                       unsigned count, unsigned batch, Between between) {
        for (unsigned number = first; number < first + count; number += batch) {
            ASSERT_TRUE(
                receiver.readUntil([&] { return receiver.received().size() + kEventsAhead >= number + batch; }));
            player.playNumberedNotes(port, number, batch);
            between(number + batch - first);
        }
    }
    /// Expects exactly the numbered notes from 0 on.
    static void expectNumberedNotes(const SequencerPeer& receiver, unsigned count);
    static void expectNumberedNotes(const std::vector<ReceivedEvent>& events, unsigned count);

    /// The lines on the program's standard error with this text.
    [[nodiscard]] std::vector<std::string> errorLines(const std::string& text);
    /// The summaries of all reloads so far.
    [[nodiscard]] std::vector<ReloadSummary> reloads();

    [[nodiscard]] std::filesystem::path document() const { return folder_ / "routes.json"; }

    /// The value of `--midi` for the program that is started.
    std::string services_ = "alsa";
    TemporaryFolder folder_;
    const ScopedEnvironment runtime_{"XDG_RUNTIME_DIR", folder_.path().string()};
    ConnectionsFile file_;
    std::optional<ChildProcess> corvel_;
    std::optional<SequencerPeer> visitor_;
};

}  // namespace corvel::tests
