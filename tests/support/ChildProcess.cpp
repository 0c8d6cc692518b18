#include "tests/support/ChildProcess.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <system_error>

namespace corvel::tests {

namespace {

void orThrow(int error, const char* operation) {
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), operation);
    }
}

std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    orThrow(pipe2(ends.data(), O_CLOEXEC) < 0 ? errno : 0, "make a pipe");
    return ends;
}

int millisecondsLeft(std::chrono::steady_clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const std::string& input) {
    const auto inputPipe = makePipe();
    const auto outputPipe = makePipe();
    const auto errorPipe = makePipe();
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inputPipe[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outputPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errorPipe[1], STDERR_FILENO);
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    const int error = posix_spawnp(&pid_, words[0], &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(inputPipe[0]);
    close(outputPipe[1]);
    close(errorPipe[1]);
    input_ = inputPipe[1];
    output_.descriptor = outputPipe[0];
    error_.descriptor = errorPipe[0];
    orThrow(error, arguments.front().c_str());
    fcntl(output_.descriptor, F_SETFL, O_NONBLOCK);
    fcntl(error_.descriptor, F_SETFL, O_NONBLOCK);
    process_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
    orThrow(process_ < 0 ? errno : 0, "watch a process");
    if (!input.empty()) {
        orThrow(::write(input_, input.data(), input.size()) < 0 ? errno : 0, "write to a process");
    }
}

ChildProcess::~ChildProcess() {
    if (!status_ && pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    for (const int descriptor : {process_, input_, output_.descriptor, error_.descriptor}) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
}

void ChildProcess::closeInput() {
    close(input_);
    input_ = -1;
}

void ChildProcess::signal(int number) const {
    orThrow(kill(pid_, number) < 0 ? errno : 0, "signal a process");
}

long ChildProcess::memoryKiB(const std::string& field) const {
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(field + ":", 0) == 0) {
            return std::stol(line.substr(field.size() + 1));
        }
    }
    return -1;
}

std::optional<int> ChildProcess::wait(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!status_) {
        // Reads its output meanwhile, because a full pipe would keep it from ending.
        readInto(output_);
        readInto(error_);
        constexpr int kLookMs = 50;
        pollfd ended{process_, POLLIN, 0};
        if (poll(&ended, 1, std::min(millisecondsLeft(deadline), kLookMs)) == 0) {
            if (millisecondsLeft(deadline) == 0) {
                return std::nullopt;
            }
            continue;
        }
        int status = 0;
        if (waitpid(pid_, &status, 0) == pid_) {
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        }
    }
    return status_;
}

const std::string& ChildProcess::standardOutput() {
    readInto(output_);
    return output_.text;
}

const std::string& ChildProcess::standardError() {
    readInto(error_);
    return error_.text;
}

bool ChildProcess::waitForOutput(const std::string& text, std::chrono::milliseconds limit) {
    return waitFor(output_, text, limit);
}

bool ChildProcess::waitForError(const std::string& text, std::chrono::milliseconds limit) {
    return waitFor(error_, text, limit);
}

bool ChildProcess::waitFor(Stream& stream, const std::string& text, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (readInto(stream); stream.text.find(text) == std::string::npos; readInto(stream)) {
        pollfd more{stream.descriptor, POLLIN, 0};
        if (poll(&more, 1, millisecondsLeft(deadline)) <= 0 || (more.revents & POLLIN) == 0) {
            return false;
        }
    }
    return true;
}

void ChildProcess::readInto(Stream& stream) {
    std::array<char, 65536> buffer{};
    for (ssize_t length = 1; length > 0;) {
        length = read(stream.descriptor, buffer.data(), buffer.size());
        stream.text.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    }
}

}  // namespace corvel::tests
