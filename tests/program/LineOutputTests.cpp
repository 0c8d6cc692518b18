#include "program/LineOutput.hpp"

#include <QCoreApplication>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <string>

namespace corvel::tests {
namespace {

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

    /// The content of the pipe.
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
    /// Reads the content of the pipe and what the event loop writes afterwards.
    [[nodiscard]] std::string readAll() const {
        std::string received;
        for (std::string more = pipe.read(); !more.empty(); more = pipe.read()) {
            received += more;
            QCoreApplication::processEvents();
        }
        return received;
    }

    int argumentCount = 1;
    char program[7] = "corvel";
    char* arguments[2] = {program, nullptr};
    const QCoreApplication application{argumentCount, arguments};
    Pipe pipe;
    LineOutput output{pipe.writer()};
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

TEST_F(LineOutputTest, LeavesOutTheOldestWholeLinesPastItsLimitAndSaysHowMany) {
    output.write(std::string(5000, 'a') + "\n");
    const std::string half(LineOutput::kLimit / 2, 'b');
    output.write(half + "\n");
    output.write(half + "\n");
    output.write("last\n");

    // The first line had been started, so it is completed. Of the two long ones the older was dropped.
    EXPECT_EQ(readAll(), std::string(5000, 'a') + "\n... 1 line left out\n" + half + "\nlast\n");
}

TEST_F(LineOutputTest, CountsAllLinesThatItLeavesOutBetweenTwoThatItWrites) {
    const std::string first(4096, 'a');
    output.write(first);
    // 64 bytes each: 16,384 of them fill the limit. The next line to be written has left the queue before.
    const std::string line = std::string(63, 'b') + "\n";
    for (int count = 0; count < 31'076; ++count) {
        output.write(line);
    }
    const std::string received = readAll();
    EXPECT_EQ(received.substr(4096, 30), "... 14,692 lines left out\nbbbb");
    EXPECT_EQ(std::ranges::count(received, '\n'), 16'384 + 1);

    output.write("later\n");
    EXPECT_EQ(pipe.read(), "later\n");
}

TEST_F(LineOutputTest, LosesNothingOfABurstToAReaderThatReads) {
    std::string received;
    for (int count = 0; count < 20'000; ++count) {
        output.write("10:20:30.456\tA keyboard with a long name\tA synthesizer with a long name\tNote\t90 3C 40\n");
        if (count % 500 == 499) {
            received += readAll();
        }
    }
    EXPECT_EQ(std::ranges::count(received, '\n'), 20'000);
    EXPECT_TRUE(output.isIdle());
}

TEST_F(LineOutputTest, GoesOnWithoutAReader) {
    std::signal(SIGPIPE, SIG_IGN);
    pipe.closeReader();
    output.write("one\n");
    output.write("two\n");
    EXPECT_TRUE(output.isIdle());
}

TEST_F(LineOutputTest, DropsWhatWaitsWhenAStalledReaderGoes) {
    std::signal(SIGPIPE, SIG_IGN);
    output.write(std::string(9000, 'a'));
    ASSERT_FALSE(output.isIdle());
    pipe.closeReader();
    QCoreApplication::processEvents();
    EXPECT_TRUE(output.isIdle());
}

TEST_F(LineOutputTest, IsIdleOnceEverythingIsWritten) {
    output.write("one\n");
    EXPECT_TRUE(output.isIdle());
    output.write(std::string(9000, 'a'));
    EXPECT_FALSE(output.isIdle());
    EXPECT_EQ(readAll().size(), 9004U);
    EXPECT_TRUE(output.isIdle());
}

}  // namespace
}  // namespace corvel::tests
