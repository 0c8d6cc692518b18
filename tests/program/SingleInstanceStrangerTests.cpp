// What the running instance and a start do beside processes that mean no good, and in folders that others control.

#include "program/QtMainQueue.hpp"
#include "tests/program/SingleInstanceFixture.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <functional>

namespace corvel::tests {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::IsEmpty;

/// Limits the number of descriptors of this process until the end of the scope.
class DescriptorLimit {
public:
    explicit DescriptorLimit(rlim_t limit) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        rlimit now = before_;
        now.rlim_cur = limit;
        if (::setrlimit(RLIMIT_NOFILE, &now) != 0) {
            throw std::system_error(errno, std::generic_category(), "setrlimit");
        }
    }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;
    ~DescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &before_); }

private:
    rlimit before_{};
};

/// A process of another user, which only root can create.
class StrangerProcess {
public:
    /// `life` runs in the process, which ends with this object.
    explicit StrangerProcess(const std::function<void()>& life) : pid_(::fork()) {
        if (pid_ == 0) {
            constexpr uid_t kNobody = 65534;
            if (::setresuid(kNobody, kNobody, kNobody) == 0) {
                life();
            }
            ::_exit(0);
        }
    }
    StrangerProcess(const StrangerProcess&) = delete;
    StrangerProcess& operator=(const StrangerProcess&) = delete;
    ~StrangerProcess() {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }

private:
    pid_t pid_;
};

/// Both ends of a pipe.
struct Pipe {
    Pipe() {
        if (::pipe(ends) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe");
        }
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        ::close(ends[0]);
        ::close(ends[1]);
    }

    int ends[2] = {-1, -1};
};

TEST_F(SingleInstances, LetsGoOfWhoSpeaksNonsense) {
    serve();
    for (const std::string& nonsense : {std::string("GET / HTTP/1.1\r\n\r\n"), std::string("corvel 1\xFF\xFF\xFF\xFF"),
                                        std::string(100'000, '\0'), std::string("corvel 1\0\0\0\1x", 13)}) {
        const RawClient client(socketFile());
        client.send(nonsense);
        EXPECT_TRUE(runUntil([&] { return client.isDropped(); }));
    }
    EXPECT_EQ(answerOf(startAnother({})), "1");
}

TEST_F(SingleInstances, LetsGoOfWhoSaysNothing) {
    serve();
    const RawClient silent(socketFile());
    const RawClient halfway(socketFile());
    halfway.send("corvel 1");
    EXPECT_EQ(answerOf(startAnother({})), "1") << "nobody else is held up";
    EXPECT_TRUE(runUntil([&] { return silent.isDropped() && halfway.isDropped(); }));
}

TEST_F(SingleInstances, AnswersBesideAThousandConnectionsThatSayNothing) {
    serve();
    const DescriptorLimit enough(2'000);
    std::vector<RawClient> crowd;
    for (int count = 0; count < 1'000; ++count) {
        crowd.emplace_back(socketFile());
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(answerOf(startAnother({})), "1");
    EXPECT_GE(std::ranges::count_if(crowd, &RawClient::isDropped), 1'000 - 32);
    EXPECT_TRUE(runUntil([&] { return std::ranges::all_of(crowd, &RawClient::isDropped); }));
    EXPECT_EQ(answerOf(startAnother({})), "2");
}

TEST_F(SingleInstances, KeepsThePlaceAndAnswersLaterWhereNoDescriptorIsLeftForAConnection) {
    serve();
    const RawClient client(socketFile());
    {
        const DescriptorLimit none(3);
        for (int turn = 0; turn < 3; ++turn) {
            QCoreApplication::processEvents();
        }
    }
    EXPECT_EQ(answerOf(startAnother({})), "1") << "as soon as there are descriptors again";
}

TEST_F(SingleInstances, AnswersWithinASecondWhileTheMainQueueIsFlooded) {
    const QtMainQueue mainQueue;
    bool isOver = false;
    struct Flood {
        std::shared_ptr<DispatchQueue> queue;
        bool& isOver;
        void operator()() const {
            const auto end = std::chrono::steady_clock::now() + QtMainQueue::kRoundLimit;
            while (!isOver && std::chrono::steady_clock::now() < end) {
            }
            if (!isOver) {
                queue->async(*this);
            }
        }
    };
    for (int count = 0; count < 10; ++count) {
        mainQueue.queue()->async(Flood{mainQueue.queue(), isOver});
    }
    serve();
    EXPECT_EQ(answerOf(startAnother({}, seconds(1))), "1");
    isOver = true;
    EXPECT_TRUE(runUntil([&mainQueue] { return mainQueue.isIdle(); }));
}

TEST_F(SingleInstances, AnotherUserReachesNeitherTheSocketNorTheLock) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user";
    }
    serve();
    const Pipe result;
    const StrangerProcess stranger([&] {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socketFile().string().copy(address.sun_path, sizeof address.sun_path - 1);
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const bool isRefused =
            ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 && errno == EACCES;
        const bool isLocked = ::open(lockFile().c_str(), O_RDONLY) < 0 && errno == EACCES;
        std::ignore = ::write(result.ends[1], isRefused && isLocked ? "y" : "n", 1);
        ::pause();
    });
    char byte = 0;
    ASSERT_EQ(::read(result.ends[0], &byte, 1), 1);
    EXPECT_EQ(byte, 'y');
}

TEST_F(SingleInstances, HasNothingToDoWithOtherUsersWhereTheyReachTheSocket) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user";
    }
    serve();
    using std::filesystem::perms;
    std::filesystem::permissions(runtime.path(), perms::all);
    std::filesystem::permissions(meetingPlace, perms::all);
    std::filesystem::permissions(socketFile(), perms::all);
    const Pipe done;
    const StrangerProcess stranger([&] {
        const RawClient client(socketFile());
        client.send(InstanceMessage::encoded(InstanceRequest{"/", {"--set", "Live"}}));
        while (!client.isDropped()) {
            ::usleep(1'000);
        }
        std::ignore = ::write(done.ends[1], "x", 1);
        ::pause();
    });
    pollfd state{done.ends[0], POLLIN, 0};
    EXPECT_TRUE(runUntil([&] { return ::poll(&state, 1, 0) == 1; }));
    EXPECT_THAT(requests, IsEmpty());
}

/// Places where there can be no lock, which a start learns at once.
class NoMeetingPlace : public SingleInstances {
protected:
    [[nodiscard]] static std::string problem(const std::filesystem::path& runtimeFolder,
                                             const std::filesystem::path& settings) {
        const ScopedEnvironment variable("XDG_RUNTIME_DIR", runtimeFolder.string());
        SingleInstance start(settings);
        const auto begin = std::chrono::steady_clock::now();
        std::string result = problemOf(start.takeOrAsk({}));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, seconds(1));
        // The program still runs.
        const InstanceServer nothing(start.listeningSocket(), {});
        return result;
    }
};

TEST_F(NoMeetingPlace, TheRuntimeFolderIsNotThere) {
    const std::filesystem::path missing = runtime / "missing";
    EXPECT_EQ(problem(missing, settings), missing.string() + ": No such file or directory");
}

TEST_F(NoMeetingPlace, TheRuntimeFolderIsAFile) {
    writeFile(runtime / "file", "");
    EXPECT_EQ(problem(runtime / "file", settings), (runtime / "file").string() + ": Not a directory");
}

TEST_F(NoMeetingPlace, OthersMayWriteIntoTheRuntimeFolder) {
    std::filesystem::permissions(runtime.path(), std::filesystem::perms::all);
    EXPECT_EQ(problem(runtime.path(), settings), runtime.path().string() + ": other users may write there");
}

TEST_F(NoMeetingPlace, OthersMayWriteIntoItsFolder) {
    std::filesystem::create_directory(meetingPlace);
    std::filesystem::permissions(meetingPlace, std::filesystem::perms::all);
    EXPECT_EQ(problem(runtime.path(), settings), meetingPlace.string() + ": other users may write there");
}

TEST_F(NoMeetingPlace, ItsFolderIsALinkToElsewhere) {
    std::filesystem::create_directory_symlink(folder.path(), meetingPlace);
    EXPECT_EQ(problem(runtime.path(), settings), meetingPlace.string() + ": Not a directory");
    EXPECT_THAT(entries(folder.path()), IsEmpty());
}

TEST_F(NoMeetingPlace, ItsLockFileIsALinkToElsewhere) {
    std::filesystem::create_directory(meetingPlace);
    std::filesystem::permissions(meetingPlace, static_cast<std::filesystem::perms>(0700));
    std::filesystem::create_symlink(folder / "victim", lockFile());
    EXPECT_EQ(problem(runtime.path(), settings), lockFile().string() + ": Too many levels of symbolic links");
    EXPECT_THAT(entries(folder.path()), IsEmpty());
}

TEST_F(NoMeetingPlace, AnotherUserOwnsTheFolderThatIsThere) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give files to another user";
    }
    std::filesystem::create_directory(meetingPlace);
    ASSERT_EQ(::chown(meetingPlace.c_str(), 65534, 65534), 0);
    EXPECT_EQ(problem(runtime.path(), settings), meetingPlace.string() + ": it belongs to another user");
    ASSERT_EQ(::chown(runtime.path().c_str(), 65534, 65534), 0);
    EXPECT_EQ(problem(runtime.path(), settings), runtime.path().string() + ": it belongs to another user");
}

TEST_F(NoMeetingPlace, TheRuntimeFolderIsReadOnly) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become the user who may not write";
    }
    std::filesystem::permissions(runtime.path(), static_cast<std::filesystem::perms>(0500));
    ASSERT_EQ(::chown(runtime.path().c_str(), 65534, 65534), 0);
    const Pipe result;
    const StrangerProcess stranger([&] {
        const std::string text = problem(runtime.path(), settings);
        std::ignore = ::write(result.ends[1], text.data(), text.size());
        ::pause();
    });
    std::string text(1'000, ' ');
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(0, ::read(result.ends[0], text.data(), text.size()))));
    EXPECT_EQ(text, meetingPlace.string() + ": Permission denied");
}

}  // namespace
}  // namespace corvel::tests
