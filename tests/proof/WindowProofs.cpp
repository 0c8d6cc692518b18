// The window under ordinary play, at this machine's own speed: on JACK, which needs no emulated machine.

#include "tests/program/ProgramFixture.hpp"
#include "tests/proof/MemoryGrowth.hpp"
#include "tests/proof/Performer.hpp"
#include "tests/support/JackPeer.hpp"
#include "tests/support/JackServer.hpp"

#include <algorithm>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace corvel::tests {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr int kDevices = 32;
/// With 32 devices and periods of 1,024 frames, 3,000 messages a second.
constexpr std::uint32_t kMessagesPerPeriod = 2;
constexpr std::uint32_t kWithoutEnd = 1'000'000'000;
constexpr std::size_t kArrivals = 1'000;
constexpr seconds kLeastDuration{10};
constexpr seconds kBetweenPlugs{10};
constexpr milliseconds kMaxAbsence{50};
/// Short, so that no absence of the maximum length falls between two questions.
constexpr milliseconds kBetweenQuestions{10};

class WindowProof : public ProgramFixture {
protected:
    WindowProof() {
        server_.start();
        for (int device = 0; device < kDevices; ++device) {
            devices_.push_back(std::make_unique<JackPeer>(nameOf(device), kArrivals));
        }
    }

    static std::string nameOf(int device) { return "part " + std::to_string(device); }

    /// Each device plays to itself.
    void connectAll() const {
        for (int device = 0; device < kDevices; ++device) {
            ChildProcess command =
                start({"--connect", nameOf(device), nameOf(device), "--midi", "jack", "--document", document()});
            ASSERT_EQ(command.wait(kDeadline), 0) << command.standardError();
        }
    }

    [[nodiscard]] bool isEachDeviceHeard() const {
        return std::all_of(devices_.begin(), devices_.end(),
                           [](const auto& device) { return device->arrivedCount() == kArrivals; });
    }

    [[nodiscard]] TimedAnswer ask(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {"--document", document()});
        return askInstance(runtime.path(), std::move(arguments));
    }

    [[nodiscard]] std::string document() const { return data / "routes.json"; }

    JackServer server_;
    std::vector<std::unique_ptr<JackPeer>> devices_;
};

TEST_F(WindowProof, TheMainThreadIsAlwaysThereWhileThirtyTwoDevicesPlay) {
    const auto duration = kLeastDuration * scale();
    ASSERT_NO_FATAL_FAILURE(connectAll());
    addEncore(document());
    const ScopedEnvironment inMemory{"QT_QPA_PLATFORM", "offscreen"};
    ChildProcess corvel = start({"--midi", "jack", "--document", document()});
    ASSERT_TRUE(waitUntil(corvel, [this] { return ask({"--sets"}).exitCode == 0; })) << corvel.standardError();
    for (const auto& device : devices_) {
        device->play(kWithoutEnd, kMessagesPerPeriod);
    }
    // Also in the shortest run the lines carry signals when the measurement begins.
    ASSERT_TRUE(waitUntil(corvel, [this] { return isEachDeviceHeard(); })) << corvel.standardError();
    MemoryGrowth memory(corvel, duration);
    Performer performer([this](std::vector<std::string> arguments) { return ask(std::move(arguments)); },
                        kBetweenQuestions);
    std::optional<JackPeer> visitor;
    const auto end = steady_clock::now() + duration;
    for (auto nextPlug = steady_clock::now() + kBetweenPlugs; steady_clock::now() < end;) {
        std::this_thread::sleep_for(milliseconds(100));
        memory.watch();
        static_cast<void>(corvel.standardError());
        static_cast<void>(server_.log());
        if (steady_clock::now() < nextPlug) {
            continue;
        }
        nextPlug += kBetweenPlugs;
        if (visitor) {
            visitor.reset();
        } else {
            visitor.emplace("visitor", 0);
        }
    }
    performer.report("The main thread of the window is never away for more than 50 ms", kMaxAbsence);
    memory.report();
    corvel.signal(SIGTERM);
    EXPECT_EQ(corvel.wait(kDeadline), 0);
}

}  // namespace

}  // namespace corvel::tests
