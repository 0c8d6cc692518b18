#include "tests/program/SequencerProgramFixture.hpp"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

namespace corvel::tests {

namespace {

/// Whether each thread of the process is stopped.
bool isStopped(pid_t process) {
    const std::filesystem::path tasks = "/proc/" + std::to_string(process) + "/task";
    const std::filesystem::directory_iterator threads(tasks);
    return std::all_of(begin(threads), end(threads), [](const auto& thread) {
        std::string status;
        std::getline(std::ifstream(thread.path() / "stat"), status);
        // The state follows the name, which is in parentheses and may contain blanks.
        const std::size_t name = status.rfind(") ");
        return name != std::string::npos && status[name + 2] == 'T';
    });
}

}  // namespace

bool TimedCommand::hasEnded() {
    if (!end_ && process_.wait(std::chrono::milliseconds(0))) {
        end_ = std::chrono::steady_clock::now();
    }
    return end_.has_value();
}

std::chrono::milliseconds TimedCommand::duration() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(end_.value_or(std::chrono::steady_clock::now()) -
                                                                 start_);
}

int SequencerProgramFixture::runs() {
    const char* text = std::getenv("CORVEL_TEST_RUNS");
    constexpr int kRuns = 20;
    return text == nullptr ? kRuns : std::stoi(text);
}

std::int32_t SequencerProgramFixture::sourceID(const std::string& client) {
    return endpointID("source", client, 0, "Out");
}

std::int32_t SequencerProgramFixture::destinationID(const std::string& client) {
    return endpointID("destination", client, 0, "In");
}

void SequencerProgramFixture::connect(const std::string& sourceClient, const std::string& destinationClient) {
    file_.add({.sourceID = sourceID(sourceClient), .destinationID = destinationID(destinationClient)});
}

void SequencerProgramFixture::releaseHeldNotes() const {
    std::filesystem::create_directory(folder_ / "Corvel");
    std::ofstream(folder_ / "Corvel" / "Corvel.ini") << "[General]\nCorvel.releasesHeldNotes=true\n";
}

void SequencerProgramFixture::start(const std::vector<std::string>& options) {
    file_.write(document());
    startOnDocument(options);
}

void SequencerProgramFixture::startOnDocument(const std::vector<std::string>& options) {
    std::vector<std::string> arguments{"env",          "XDG_CONFIG_HOME=" + folder_.path().string(),
                                       CORVEL_PROGRAM, "--headless",
                                       "--midi",       services_,
                                       "--document",   document().string()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    corvel_.emplace(arguments);
    ASSERT_TRUE(corvel_->waitForError("Endpoint reload (initial load)", kDeadline)) << corvel_->standardError();
}

std::vector<std::string> SequencerProgramFixture::command(const std::vector<std::string>& options) const {
    std::vector<std::string> arguments{"env", "XDG_CONFIG_HOME=" + folder_.path().string(), CORVEL_PROGRAM,
                                       "--document", document().string()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
}

void SequencerProgramFixture::terminate() {
    corvel_->signal(SIGTERM);
    EXPECT_EQ(corvel_->wait(kDeadline), 0);
}

void SequencerProgramFixture::halt() {
    corvel_->signal(SIGSTOP);
    ASSERT_TRUE(waitUntil([&] { return isStopped(corvel_->pid()); }));
}

void SequencerProgramFixture::resume() const {
    corvel_->signal(SIGCONT);
}

bool SequencerProgramFixture::waitUntilHeard(const SequencerPeer& peer, SequencerAddress source) {
    return waitUntil([&] { return !peer.subscribers(source).empty(); });
}

void SequencerProgramFixture::plugAndSettle() {
    const std::string settled = "Endpoint reload (notification settled)";
    const std::size_t before = errorLines(settled).size();
    if (visitor_) {
        visitor_.reset();
    } else {
        visitor_.emplace("Visitor");
        visitor_->addPort("Out", SequencerPeer::kSource);
    }
    ASSERT_TRUE(waitUntil([&] { return errorLines(settled).size() > before; })) << corvel_->standardError();
}

void SequencerProgramFixture::expectNumberedNotes(const SequencerPeer& receiver, unsigned count) {
    expectNumberedNotes(receiver.received(), count);
}

void SequencerProgramFixture::expectNumberedNotes(const std::vector<ReceivedEvent>& events, unsigned count) {
    for (unsigned number = 0; number < std::min<std::size_t>(count, events.size()); ++number) {
        ASSERT_EQ(events[number].bytes, SequencerPeer::numberedNote(number)) << "note " << number;
    }
    EXPECT_EQ(events.size(), count);
}

std::vector<std::string> SequencerProgramFixture::errorLines(const std::string& text) {
    std::vector<std::string> found;
    std::istringstream lines(corvel_->standardError());
    for (std::string line; std::getline(lines, line);) {
        if (line.find(text) != std::string::npos) {
            found.push_back(line);
        }
    }
    return found;
}

std::vector<ReloadSummary> SequencerProgramFixture::reloads() {
    const std::regex form(R"(Endpoint reload \(.*\): (\d+) sources, (\d+) destinations, (\d+) source connections)");
    std::vector<ReloadSummary> found;
    for (const std::string& line : errorLines("Endpoint reload (")) {
        std::smatch numbers;
        if (std::regex_search(line, numbers, form)) {
            found.push_back({std::stoi(numbers[1]), std::stoi(numbers[2]), std::stoi(numbers[3])});
        }
    }
    return found;
}

}  // namespace corvel::tests
