#include "program/InstanceListener.hpp"

#include "program/InstancePeer.hpp"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace corvel {

namespace {

constexpr mode_t kOwnerOnly = 0600;

/// Maximum number of connections that the kernel keeps until they are accepted.
constexpr int kBacklog = 64;

/// Maximum number of connections accepted in one turn of the event loop.
constexpr int kMaxAccepted = 64;

}  // namespace

InstanceListener::InstanceListener() {
    retry_.setSingleShot(true);
    retry_.setInterval(kRetryPause);
    QObject::connect(&retry_, &QTimer::timeout, [this] { acceptConnections(); });
}

InstanceListener::~InstanceListener() {
    close();
}

std::string InstanceListener::listen(std::string path) {
    path_ = std::move(path);
    ::unlink(path_.c_str());
    descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const InstanceAddress address(path_);
    // Gives the file the socket's mode, whatever the process's mask is.
    if (descriptor_ >= 0 && ::fchmod(descriptor_, kOwnerOnly) == 0 &&
        ::bind(descriptor_, address.get(), InstanceAddress::size()) == 0 && ::listen(descriptor_, kBacklog) == 0) {
        return {};
    }
    std::string problem = std::system_category().message(errno);
    close();
    return problem;
}

void InstanceListener::accept(ConnectionHandler handler) {
    if (descriptor_ < 0) {
        return;
    }
    handler_ = std::move(handler);
    arrivals_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(arrivals_.get(), &QSocketNotifier::activated, [this] { acceptConnections(); });
    acceptConnections();
}

void InstanceListener::acceptConnections() {
    arrivals_->setEnabled(true);
    for (int count = 0; count < kMaxAccepted; ++count) {
        const int connection = ::accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (connection >= 0) {
            handOn(connection);
        } else if (errno == EAGAIN) {
            return;
        } else if (errno != EINTR && errno != ECONNABORTED) {
            // No descriptor or memory is left. The connection keeps waiting, and the socket stays readable.
            arrivals_->setEnabled(false);
            retry_.start();
            return;
        }
    }
}

void InstanceListener::handOn(int connection) {
    if (!isOwnUser(instancePeer(connection))) {
        ::close(connection);
        return;
    }
    handler_(connection);
}

void InstanceListener::close() {
    arrivals_.reset();
    if (descriptor_ >= 0) {
        ::unlink(path_.c_str());
        ::close(std::exchange(descriptor_, -1));
    }
}

}  // namespace corvel
