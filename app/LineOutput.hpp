#pragma once

#include "core/support/EventLoop.hpp"

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>

namespace corvel {

/// Writes lines to a descriptor, each at once, without ever holding up its loop: while the reader stands still (a
/// stopped terminal, a pager) lines wait here, and past `kLimit` bytes the oldest give way. When the reader is gone,
/// all further lines are dropped. On the loop's thread only. The descriptor is not closed.
class LineOutput {
public:
    static constexpr std::size_t kLimit = 1'048'576;

    LineOutput(int descriptor, std::shared_ptr<EventLoop> loop);
    LineOutput(const LineOutput&) = delete;
    LineOutput& operator=(const LineOutput&) = delete;
    ~LineOutput();

    /// Takes a line, its line feed included.
    void write(std::string line);

    /// Waits until everything is written, but no longer than `limit`.
    void finish(std::chrono::milliseconds limit);

private:
    [[nodiscard]] bool isReady(std::chrono::milliseconds limit) const;
    void writeWhatFits();
    void writePiece();
    void dropOldest();
    void drop();
    void waitForReader();
    void endWaiting();

    const int descriptor_;
    const std::shared_ptr<EventLoop> loop_;
    std::deque<std::string> lines_;
    /// How much of the first line is written.
    std::size_t written_ = 0;
    /// Bytes in `lines_`.
    std::size_t size_ = 0;
    bool isReaderGone_ = false;
    /// Readable when the descriptor can be written: what the loop watches. -1 while it does not.
    int readiness_ = -1;
};

}  // namespace corvel
