#include "program/ServiceManager.hpp"

#include "program/Environment.hpp"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string>

namespace corvel {

namespace {

/// A datagram socket connected to this address: a path, or an abstract name after "@". -1 if that fails.
int connectedSocket(std::string_view address) {
    sockaddr_un target{};
    target.sun_family = AF_UNIX;
    const bool isAbstract = address.starts_with('@');
    if ((!isAbstract && !address.starts_with('/')) || address.size() >= sizeof target.sun_path) {
        return -1;
    }
    std::ranges::copy(address, &target.sun_path[0]);
    if (isAbstract) {
        target.sun_path[0] = '\0';
    }
    const int descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
    if (descriptor >= 0 && ::connect(descriptor, reinterpret_cast<const sockaddr*>(&target), length) != 0) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

}  // namespace

ServiceManager::ServiceManager() {
    socket_ = connectedSocket(environmentVariable("NOTIFY_SOCKET"));
    ::unsetenv("NOTIFY_SOCKET");  // NOLINT(concurrency-mt-unsafe): before other threads
}

ServiceManager::~ServiceManager() {
    if (socket_ >= 0) {
        ::close(socket_);
    }
}

void ServiceManager::tellReady(std::string_view status) const {
    send("READY=1\nSTATUS=" + std::string(status));
}

void ServiceManager::tellStopping() const {
    send("STOPPING=1");
}

bool ServiceManager::isJournal(int descriptor) {
    const std::string stream = environmentVariable("JOURNAL_STREAM");
    struct stat status {};
    return !stream.empty() && ::fstat(descriptor, &status) == 0 &&
           std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino) == stream;
}

void ServiceManager::send(std::string_view message) const {
    if (socket_ >= 0) {
        // Never blocks, because a manager that does not read must not delay MIDI. The manager then ends the service
        // itself.
        static_cast<void>(::send(socket_, message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
    }
}

}  // namespace corvel
