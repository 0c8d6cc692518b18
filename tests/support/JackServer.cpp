#include "tests/support/JackServer.hpp"

#include "tests/support/Deadline.hpp"
#include "tests/support/JackPeer.hpp"

#include <jack/jack.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>
#include <vector>

namespace corvel::tests {

namespace {

bool isReady() {
    try {
        const JackPeer visitor("visitor", 0);
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

}  // namespace

JackServer::JackServer() : name_("corvel-test-" + std::to_string(::getpid())) {}

JackServer::~JackServer() {
    // Not SIGKILL: JACK has room for eight servers, and a killed one still occupies its place.
    end(SIGTERM);
}

bool JackServer::isPipeWire() {
    return std::string(::jack_get_version_string()).find("PipeWire") != std::string::npos;
}

void JackServer::start() {
    process_.emplace(isPipeWire()
                         ? std::vector<std::string>{"pipewire"}
                         : std::vector<std::string>{"jackd", "-n", name_, "-d", "dummy", "-r", "48000", "-p", "1024"});
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (!isReady()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the server does not start: " + process_->standardError());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

void JackServer::kill() {
    end(SIGKILL);
}

void JackServer::end(int signal) {
    if (process_) {
        process_->signal(signal);
        [[maybe_unused]] const std::optional<int> status = process_->wait(kDeadline);
        process_.reset();
    }
}

}  // namespace corvel::tests
