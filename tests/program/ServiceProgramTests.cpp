#include "tests/program/ProgramFixture.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

namespace corvel::tests {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// The program as systemd runs it: the test's own socket replaces the service manager, a file the journal.
class ServiceProgram : public ProgramFixture {
protected:
    /// Prints every datagram that comes to the socket, each followed by an empty line.
    static constexpr const char* kListener =
        "import os, socket, sys\n"
        "s = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM); s.bind(sys.argv[1])\n"
        "print('listening', flush=True)\n"
        "while True: print(s.recv(4096).decode() + '\\n', flush=True)\n";

    const std::string socket = (data / "notify").string();
    ChildProcess manager{{"/usr/bin/python3", "-c", kListener, socket}};
};

TEST_F(ServiceProgram, TellsItsManagerWhenItRoutesAndWhenItEnds) {
    ASSERT_TRUE(manager.waitForOutput("listening\n", kDeadline));
    const ScopedEnvironment variable("NOTIFY_SOCKET", socket);
    ChildProcess program = start({"--headless", "--midi", "demo"});
    ASSERT_TRUE(manager.waitForOutput("READY=1\nSTATUS=Routing MIDI\n", kDeadline));
    EXPECT_THAT(manager.standardOutput(), Not(HasSubstr("STOPPING")));
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(kDeadline), 0);
    EXPECT_TRUE(manager.waitForOutput("STOPPING=1\n", kDeadline));
}

TEST_F(ServiceProgram, IsNotReadyWithoutAService) {
    if (hasSequencer()) {
        GTEST_SKIP() << "this machine has a sequencer";
    }
    ASSERT_TRUE(manager.waitForOutput("listening\n", kDeadline));
    const ScopedEnvironment variable("NOTIFY_SOCKET", socket);
    ChildProcess program = start({"--headless", "--midi", "alsa"});
    EXPECT_EQ(program.wait(kDeadline), 1);
    EXPECT_EQ(manager.standardOutput(), "listening\n");
}

TEST_F(ServiceProgram, WritesPrioritiesAndNoTimesIntoTheJournal) {
    ChildProcess program(
        {"sh", "-c",
         R"(exec 2>"$1"; JOURNAL_STREAM=$(stat -Lc %d:%i /dev/stderr) exec "$0" --headless --midi demo )"
         R"(--document none.json)",
         CORVEL_PROGRAM, (data / "journal").string()});
    // The shell makes the file.
    ASSERT_TRUE(waitUntil(program, [this] {
        return std::filesystem::exists(data / "journal") &&
               readFile(data / "journal").find("Device tree") != std::string::npos;
    }));
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(kDeadline), 0);
    const std::string journal = readFile(data / "journal");
    EXPECT_THAT(journal, HasSubstr("<3>none.json: No such file or directory; an empty set is used\n"));
    EXPECT_THAT(journal, HasSubstr("\n<6>Starting CoreMIDI client on main run loop\n"));
    for (std::size_t line = journal.find('\n'); line + 1 < journal.size(); line = journal.find('\n', line + 1)) {
        EXPECT_EQ(journal[line + 1], '<') << journal.substr(line + 1, 40);
    }
}

}  // namespace
}  // namespace corvel::tests
