#include "app/LineOutput.hpp"

#include <poll.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace corvel {

namespace {

/// A pipe that is ready takes this much without blocking, and so does everything else a shell connects. Making the
/// descriptor itself non-blocking would change it for every other program that shares it.
constexpr std::size_t kPieceSize = 4096;

}  // namespace

LineOutput::LineOutput(int descriptor, std::shared_ptr<EventLoop> loop)
    : descriptor_(descriptor), loop_(std::move(loop)) {}

LineOutput::~LineOutput() {
    endWaiting();
}

void LineOutput::write(std::string line) {
    if (isReaderGone_) {
        return;
    }
    size_ += line.size();
    lines_.push_back(std::move(line));
    if (readiness_ < 0) {
        writeWhatFits();
    }
    while (size_ > kLimit && lines_.size() > 2) {
        dropOldest();
    }
}

void LineOutput::finish(std::chrono::milliseconds limit) {
    endWaiting();
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!lines_.empty()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !isReady(left)) {
            return;
        }
        writePiece();
    }
}

bool LineOutput::isReady(std::chrono::milliseconds limit) const {
    pollfd state{descriptor_, POLLOUT, 0};
    // An error is ready too: writing tells which.
    return ::poll(&state, 1, static_cast<int>(limit.count())) > 0;
}

void LineOutput::writeWhatFits() {
    while (!lines_.empty()) {
        if (!isReady(std::chrono::milliseconds(0))) {
            waitForReader();
            return;
        }
        writePiece();
    }
}

void LineOutput::writePiece() {
    const std::string& line = lines_.front();
    const std::size_t size = std::min(line.size() - written_, kPieceSize);
    const ssize_t count = ::write(descriptor_, line.data() + written_, size);
    if (count < 0) {
        if (errno != EINTR && errno != EAGAIN) {
            drop();
        }
        return;
    }
    written_ += static_cast<std::size_t>(count);
    if (written_ == line.size()) {
        size_ -= line.size();
        lines_.pop_front();
        written_ = 0;
    }
}

void LineOutput::dropOldest() {
    // A line that is half written has to be finished.
    const auto oldest = lines_.begin() + (written_ > 0 ? 1 : 0);
    size_ -= oldest->size();
    lines_.erase(oldest);
}

void LineOutput::drop() {
    isReaderGone_ = true;
    lines_.clear();
    size_ = 0;
    written_ = 0;
}

void LineOutput::waitForReader() {
    // The loop watches for reading alone; a poll descriptor inside turns "can be written" into "can be read".
    readiness_ = ::epoll_create1(EPOLL_CLOEXEC);
    epoll_event event{};
    event.events = EPOLLOUT;
    if (readiness_ < 0 || ::epoll_ctl(readiness_, EPOLL_CTL_ADD, descriptor_, &event) != 0) {
        endWaiting();
        return;
    }
    loop_->watch(readiness_, [this] {
        endWaiting();
        writeWhatFits();
    });
}

void LineOutput::endWaiting() {
    if (readiness_ >= 0) {
        loop_->unwatch(readiness_);
        ::close(readiness_);
        readiness_ = -1;
    }
}

}  // namespace corvel
