#include "program/InstanceQuestion.hpp"

#include "program/InstancePeer.hpp"

#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <span>
#include <string_view>
#include <utility>

namespace corvel {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

/// A socket whose operations end at a deadline.
class TimedSocket {
public:
    explicit TimedSocket(SteadyTime deadline) : deadline_(deadline) {}
    TimedSocket(const TimedSocket&) = delete;
    TimedSocket& operator=(const TimedSocket&) = delete;
    ~TimedSocket() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }

    [[nodiscard]] int descriptor() const { return descriptor_; }

    [[nodiscard]] bool connect(const InstanceAddress& address) const {
        // While too many others wait to be accepted, this waits for as long as a send would.
        return retried(SO_SNDTIMEO, [&] { return ::connect(descriptor_, address.get(), InstanceAddress::size()); }) ==
               0;
    }

    [[nodiscard]] bool send(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t size =
                retried(SO_SNDTIMEO, [&] { return ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL); });
            if (size < 0) {
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(size));
        }
        return true;
    }

    /// The number of bytes, 0 at the end, negative for a failure.
    [[nodiscard]] ssize_t receive(std::span<char> bytes) const {
        return retried(SO_RCVTIMEO, [&] { return ::recv(descriptor_, bytes.data(), bytes.size(), 0); });
    }

private:
    /// Performs the operation with the remaining time as its limit, and again if a signal interrupts it.
    template <typename Operation>
    [[nodiscard]] ssize_t retried(int limitOption, const Operation& operation) const {
        ssize_t result = -1;
        do {
            // A limit of zero would mean no limit.
            const auto left = std::max<std::chrono::microseconds>(
                std::chrono::milliseconds(1),
                std::chrono::duration_cast<std::chrono::microseconds>(deadline_ - std::chrono::steady_clock::now()));
            const timeval limit{.tv_sec = left.count() / 1'000'000, .tv_usec = left.count() % 1'000'000};
            ::setsockopt(descriptor_, SOL_SOCKET, limitOption, &limit, sizeof limit);
            result = operation();
        } while (result < 0 && errno == EINTR);
        return result;
    }

    const SteadyTime deadline_;
    const int descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

std::optional<pid_t> pid(const std::optional<ucred>& peer) {
    return peer ? std::optional(peer->pid) : std::nullopt;
}

}  // namespace

InstanceQuestion::Result InstanceQuestion::ask(const std::string& socketPath, const std::string& message,
                                               SteadyTime deadline) {
    const TimedSocket socket(deadline);
    if (!socket.connect(InstanceAddress(socketPath))) {
        return errno == ECONNREFUSED || errno == ENOENT ? Result(Absent{}) : Silent{};
    }
    const std::optional<ucred> other = instancePeer(socket.descriptor());
    if (!isOwnUser(other)) {
        return Silent{pid(other)};
    }
    if (!socket.send(message)) {
        return errno == EAGAIN ? Result(Silent{pid(other)}) : Gone{};
    }
    std::string received;
    std::array<char, 65'536> piece{};
    while (true) {
        const ssize_t size = socket.receive(piece);
        if (size <= 0) {
            return size < 0 && errno == EAGAIN ? Result(Silent{pid(other)}) : Gone{};
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return Silent{pid(other)};
        }
        received.append(piece.data(), static_cast<std::size_t>(size));
        auto answer = InstanceMessage::decodedAnswer(received, kMaxAnswerSize);
        if (auto* const complete = std::get_if<InstanceAnswer>(&answer)) {
            return std::move(*complete);
        }
        if (std::holds_alternative<InstanceMessage::Invalid>(answer)) {
            return Silent{pid(other)};
        }
    }
}

}  // namespace corvel
