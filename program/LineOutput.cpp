#include "program/LineOutput.hpp"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace corvel {

namespace {

/// A pipe that is ready accepts this much without blocking, and so does everything else that a shell connects. The
/// descriptor is not made non-blocking, because that would change it for every other program that shares it.
constexpr std::size_t kPieceSize = 4096;

/// "... 14,692 lines left out", with its line feed.
std::string leftOutNotice(std::size_t count) {
    constexpr std::size_t kGroup = 3;
    std::string number = std::to_string(count);
    for (std::size_t digits = kGroup; digits < number.size(); digits += kGroup + 1) {
        number.insert(number.size() - digits, 1, ',');
    }
    return "... " + number + (count == 1 ? " line left out\n" : " lines left out\n");
}

}  // namespace

LineOutput::LineOutput(int descriptor) : descriptor_(descriptor), readiness_(descriptor, QSocketNotifier::Write) {
    readiness_.setEnabled(false);
    QObject::connect(&readiness_, &QSocketNotifier::activated, &readiness_, [this] { writeWhatFits(); });
}

void LineOutput::write(std::string line) {
    if (isReaderGone_) {
        return;
    }
    size_ += line.size();
    lines_.push_back(std::move(line));
    if (!readiness_.isEnabled()) {
        writeWhatFits();
    }
    while (size_ > kLimit && lines_.size() > 1) {
        size_ -= lines_.front().size();
        lines_.pop_front();
        ++leftOut_;
    }
}

void LineOutput::writeWhatFits() {
    while (!isIdle() && canWrite()) {
        writePiece();
    }
    readiness_.setEnabled(!isIdle());
}

bool LineOutput::canWrite() const {
    pollfd state{descriptor_, POLLOUT, 0};
    // True also after an error, which the write then reports.
    return ::poll(&state, 1, 0) > 0;
}

void LineOutput::writePiece() {
    if (current_.empty()) {
        fillCurrent();
    }
    const ssize_t count =
        ::write(descriptor_, current_.data() + written_, std::min(current_.size() - written_, kPieceSize));
    if (count < 0) {
        if (errno != EINTR && errno != EAGAIN) {
            close();
        }
        return;
    }
    written_ += static_cast<std::size_t>(count);
    if (written_ == current_.size()) {
        current_.clear();
        written_ = 0;
    }
}

void LineOutput::fillCurrent() {
    if (leftOut_ > 0) {
        current_ = leftOutNotice(std::exchange(leftOut_, 0));
    }
    // Only one piece at a time, so that lines that must wait longer can still be dropped.
    while (!lines_.empty() && (current_.empty() || current_.size() + lines_.front().size() <= kPieceSize)) {
        size_ -= lines_.front().size();
        current_ += lines_.front();
        lines_.pop_front();
    }
}

void LineOutput::close() {
    isReaderGone_ = true;
    current_.clear();
    written_ = 0;
    lines_.clear();
    size_ = 0;
}

}  // namespace corvel
