#pragma once

#include "tests/support/ChildProcess.hpp"
#include "tests/support/ConnectionsFile.hpp"
#include "tests/support/Deadline.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {

/// The program as a new user runs it: empty folders for its data and settings, no display. The programs of different
/// tests do not interact.
class ProgramFixture : public ::testing::Test {
protected:
    [[nodiscard]] static ChildProcess start(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), CORVEL_PROGRAM);
        return ChildProcess(arguments);
    }

    /// Waits until the condition holds, while the program runs; false after the deadline.
    template <typename Condition>
    [[nodiscard]] static bool waitUntil(ChildProcess& program, Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + kDeadline;
        while (!condition()) {
            if (program.wait(std::chrono::milliseconds(10)) || std::chrono::steady_clock::now() > deadline) {
                return false;
            }
        }
        return true;
    }

    [[nodiscard]] static bool hasSequencer() { return std::filesystem::exists("/dev/snd/seq"); }

    const TemporaryFolder data;
    const TemporaryFolder configuration;
    const ScopedEnvironment dataHome{"XDG_DATA_HOME", data.path().string()};
    const ScopedEnvironment configurationHome{"XDG_CONFIG_HOME", configuration.path().string()};
    const TemporaryFolder runtime;
    const ScopedEnvironment runtimeFolder{"XDG_RUNTIME_DIR", runtime.path().string()};
    const ScopedEnvironment display{"DISPLAY", std::nullopt};
    const ScopedEnvironment waylandDisplay{"WAYLAND_DISPLAY", std::nullopt};
    const ScopedEnvironment platform{"QT_QPA_PLATFORM", std::nullopt};
};

}  // namespace corvel::tests
