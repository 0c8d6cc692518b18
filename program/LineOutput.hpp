#pragma once

#include <QSocketNotifier>

#include <cstddef>
#include <deque>
#include <string>

namespace corvel {

/// Writes lines to a descriptor, each at once, and never blocks: while the reader stands still (a stopped terminal, a
/// pager), lines wait here and are written by Qt's event loop when it goes on. Past `kLimit` bytes the oldest lines are
/// left out, and a line in their place says how many. When the reader is gone, all further lines are dropped.
///
/// On the main thread only, while the application object exists. The descriptor is not closed.
class LineOutput {
public:
    static constexpr std::size_t kLimit = 1'048'576;

    explicit LineOutput(int descriptor);
    LineOutput(const LineOutput&) = delete;
    LineOutput& operator=(const LineOutput&) = delete;

    /// Takes a line, its line feed included.
    void write(std::string line);

    /// Whether nothing waits to be written.
    [[nodiscard]] bool isIdle() const { return current_.empty() && lines_.empty(); }

private:
    [[nodiscard]] bool canWrite() const;
    void writeWhatFits();
    void writePiece();
    void fillCurrent();
    void close();

    const int descriptor_;
    /// Whole lines, of which `written_` bytes are written. Never left out, since a line that was begun must be
    /// finished.
    std::string current_;
    std::size_t written_ = 0;
    /// What follows, and its bytes.
    std::deque<std::string> lines_;
    std::size_t size_ = 0;
    /// The lines left out between `current_` and `lines_`.
    std::size_t leftOut_ = 0;
    bool isReaderGone_ = false;
    /// On while the reader stands still.
    QSocketNotifier readiness_;
};

}  // namespace corvel
