#include "tests/proof/Proof.hpp"

#include "program/InstanceMessage.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <utility>

namespace corvel::tests {

namespace {

constexpr std::size_t kMaxAnswer = 1'048'576;
constexpr ::time_t kAnswerLimitSeconds = 10;

constexpr const char* kScale = "CORVEL_PROOF_SCALE";

unsigned numberFromEnvironment(const char* name) {
    const char* text = std::getenv(name);
    return text == nullptr ? 1 : static_cast<unsigned>(std::stoul(text));
}

/// The socket of the only instance in this runtime folder; empty before it listens.
std::filesystem::path socketIn(const std::filesystem::path& folder) {
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(folder, none)) {
        if (entry.path().extension() == ".socket") {
            return entry.path();
        }
    }
    return {};
}

/// Sends the message and returns the program's answer, up to the end of the connection or the time limit.
std::string exchanged(const std::filesystem::path& path, const std::string& message) {
    const int connection = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const timeval limit{kAnswerLimitSeconds, 0};
    ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    std::string received;
    if (::connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::send(connection, message.data(), message.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(message.size())) {
        std::array<char, 65536> buffer{};
        for (ssize_t count = 0; (count = ::recv(connection, buffer.data(), buffer.size(), 0)) > 0;) {
            received.append(buffer.data(), static_cast<std::size_t>(count));
        }
    }
    ::close(connection);
    return received;
}

}  // namespace

unsigned scale() {
    return numberFromEnvironment(kScale);
}

std::chrono::milliseconds limit(std::chrono::milliseconds promised) {
    constexpr int kPatience = 20;
    return std::getenv(kScale) == nullptr ? kPatience * promised : promised;
}

unsigned seed() {
    return numberFromEnvironment("CORVEL_PROOF_SEED");
}

void report(const std::string& promise, std::size_t tried, std::size_t held, const std::string& detail) {
    const nlohmann::json line{{"promise", promise}, {"tried", tried}, {"held", held}, {"detail", detail}};
    std::cout << "proof: " << line.dump() << std::endl;
    EXPECT_EQ(held, tried) << promise << ": " << detail;
}

TimedAnswer askInstance(const std::filesystem::path& runtimeFolder, std::vector<std::string> arguments) {
    const InstanceRequest request{.folder = runtimeFolder, .arguments = std::move(arguments)};
    const auto start = std::chrono::steady_clock::now();
    const std::string received = exchanged(socketIn(runtimeFolder / "corvel"), InstanceMessage::encoded(request));
    TimedAnswer answer;
    answer.duration = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    const auto decoded = InstanceMessage::decodedAnswer(received, kMaxAnswer);
    if (const auto* content = std::get_if<InstanceAnswer>(&decoded); content != nullptr && *content) {
        answer.exitCode = (*content)->exitCode;
        answer.text = (*content)->text;
    }
    return answer;
}

}  // namespace corvel::tests
