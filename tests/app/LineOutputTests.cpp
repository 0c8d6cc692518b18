#include "app/LineOutput.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <string>

namespace corvel::tests {
namespace {

using namespace std::chrono_literals;

/// A pipe that holds 4096 bytes, read without waiting.
class Pipe {
public:
    Pipe() {
        if (::pipe2(ends_.data(), O_CLOEXEC) != 0 || ::fcntl(ends_[1], F_SETPIPE_SZ, 4096) != 4096 ||
            ::fcntl(ends_[0], F_SETFL, O_NONBLOCK) != 0) {
            ADD_FAILURE() << "no pipe";
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        closeReader();
        ::close(ends_[1]);
    }

    [[nodiscard]] int writer() const { return ends_[1]; }
    void closeReader() {
        if (ends_[0] >= 0) {
            ::close(ends_[0]);
            ends_[0] = -1;
        }
    }

    /// What is in the pipe now.
    [[nodiscard]] std::string read() const {
        std::array<char, 65536> buffer{};
        const ssize_t count = ::read(ends_[0], buffer.data(), buffer.size());
        return {buffer.data(), static_cast<std::size_t>(count < 0 ? 0 : count)};
    }

private:
    std::array<int, 2> ends_{-1, -1};
};

class LineOutputTest : public ::testing::Test {
protected:
    /// Runs the loop's next rounds up to a task that is posted now.
    void runLoop() const {
        loop->async([this] { loop->async([this] { loop->stop(); }); });
        loop->run();
    }

    /// Reads what is in the pipe and what comes after it while the loop runs.
    [[nodiscard]] std::string readAll() const {
        std::string received;
        for (std::string more = pipe.read(); !more.empty(); more = pipe.read()) {
            received += more;
            runLoop();
        }
        return received;
    }

    Pipe pipe;
    const std::shared_ptr<EventLoop> loop = EventLoop::onThisThread("test.main");
    LineOutput output{pipe.writer(), loop};
};

TEST_F(LineOutputTest, WritesALineAtOnce) {
    output.write("one\n");
    EXPECT_EQ(pipe.read(), "one\n");
    output.write("two\n");
    EXPECT_EQ(pipe.read(), "two\n");
}

TEST_F(LineOutputTest, WritesOnWhenAStalledReaderGoesOn) {
    const std::string first(4096, 'a');
    output.write(first);
    output.write("second\n");
    output.write("third\n");

    EXPECT_EQ(readAll(), first + "second\nthird\n");
}

TEST_F(LineOutputTest, WritesALineThatIsLongerThanThePipe) {
    const std::string line = std::string(9000, 'a') + "z\n";
    output.write(line);
    EXPECT_EQ(readAll(), line);
}

TEST_F(LineOutputTest, GivesUpTheOldestWholeLinesPastItsLimit) {
    output.write(std::string(5000, 'a') + "\n");
    const std::string half(LineOutput::kLimit / 2, 'b');
    output.write(half + "\n");
    output.write(half + "\n");
    output.write("last\n");

    // The first line was begun, so it is finished; of the two long ones the older had to go.
    EXPECT_EQ(readAll(), std::string(5000, 'a') + "\n" + half + "\nlast\n");
}

TEST_F(LineOutputTest, GoesOnWithoutAReader) {
    std::signal(SIGPIPE, SIG_IGN);
    pipe.closeReader();
    output.write("one\n");
    output.write("two\n");
    output.finish(10s);
}

TEST_F(LineOutputTest, FinishesWithoutWaitingWhenNothingIsLeft) {
    output.write("one\n");
    output.finish(10s);
    EXPECT_EQ(pipe.read(), "one\n");
}

TEST_F(LineOutputTest, FinishesWithinTheLimitWhenTheReaderStandsStill) {
    output.write(std::string(5000, 'a'));
    output.finish(1ms);
    EXPECT_EQ(pipe.read(), std::string(4096, 'a'));
}

}  // namespace
}  // namespace corvel::tests
