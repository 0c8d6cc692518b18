#pragma once

#include <QSocketNotifier>

#include <cstddef>
#include <deque>
#include <string>

namespace corvel {

/// Writes lines to a descriptor, each at once, and never blocks. While the reader does not read (a stopped terminal, a
/// pager), lines are queued, and Qt's event loop writes them later. Beyond `kLimit` bytes the oldest lines are dropped,
/// and a line in their place gives their number. If the reader is gone, all further lines are dropped.
///
/// Main thread only, while the application object exists. The descriptor is not closed.
class LineOutput {
public:
    static constexpr std::size_t kLimit = 1'048'576;

    explicit LineOutput(int descriptor);
    LineOutput(const LineOutput&) = delete;
    LineOutput& operator=(const LineOutput&) = delete;

    /// Takes a line with its line feed.
    void write(std::string line);

    /// Whether nothing is queued.
    [[nodiscard]] bool isIdle() const { return current_.empty() && lines_.empty(); }

private:
    [[nodiscard]] bool canWrite() const;
    void writeWhatFits();
    void writePiece();
    void fillCurrent();
    void close();

    const int descriptor_;
    /// Whole lines; the first `written_` bytes are written. Never dropped, because a line that has been started must be
    /// completed.
    std::string current_;
    std::size_t written_ = 0;
    /// The lines that follow, and their bytes.
    std::deque<std::string> lines_;
    std::size_t size_ = 0;
    /// The number of dropped lines between `current_` and `lines_`.
    std::size_t leftOut_ = 0;
    bool isReaderGone_ = false;
    /// Enabled while the reader does not read.
    QSocketNotifier readiness_;
};

}  // namespace corvel
