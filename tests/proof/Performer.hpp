#pragma once

#include "tests/proof/Proof.hpp"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace corvel::tests {

/// Adds a copy of the document's first set under another name: a change between the two must not cost a note. Both sets
/// then have the names that `Performer` uses.
void addEncore(const std::filesystem::path& document);

/// Uses the running program on a thread of its own: asks for its sets again and again, and changes the set every 5 s.
/// An answer takes as long as the program's main thread is away.
class Performer {
public:
    using Ask = std::function<TimedAnswer(std::vector<std::string>)>;

    /// `ask` sends a command to the program, on the performer's thread, once in each `interval`.
    Performer(Ask ask, std::chrono::milliseconds interval);
    Performer(const Performer&) = delete;
    Performer& operator=(const Performer&) = delete;
    ~Performer();

    /// Reports how often the sets changed as asked, and how many answers took at most the time limit. Ends the thread.
    void report(const std::string& promise, std::chrono::milliseconds maxAbsence);
    /// After `report`: the number of changes.
    [[nodiscard]] std::size_t changes() const { return changes_; }

private:
    void run();
    void end();

    const Ask ask_;
    const std::chrono::milliseconds interval_;
    std::atomic<bool> isToEnd_ = false;
    std::size_t changes_ = 0;
    std::size_t changed_ = 0;
    std::vector<std::chrono::milliseconds> answers_;
    std::size_t unanswered_ = 0;
    std::thread thread_;
};

}  // namespace corvel::tests
