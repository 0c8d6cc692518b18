#include "program/SingleInstance.hpp"

#include "program/InstanceServer.hpp"
#include "program/QtMainQueue.hpp"
#include "tests/support/Deadline.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <barrier>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

namespace corvel {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::kDeadline;
using tests::ScopedEnvironment;
using tests::TemporaryFolder;

using Outcome = SingleInstance::Outcome;

/// Time limit for an answer that never comes.
constexpr milliseconds kShortLimit{100};

/// A process that sends arbitrary data to the instance.
class RawClient {
public:
    explicit RawClient(const std::filesystem::path& socketFile) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socketFile.string().copy(address.sun_path, sizeof address.sun_path - 1);
        if (descriptor_ < 0 ||
            ::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            throw std::system_error(errno, std::generic_category(), "connect");
        }
    }
    RawClient(RawClient&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;
    RawClient& operator=(RawClient&&) = delete;
    ~RawClient() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }

    void send(const std::string& bytes) const {
        std::ignore = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }

    /// Whether the other side has closed the connection.
    [[nodiscard]] bool isDropped() const {
        char byte = 0;
        const ssize_t size = ::recv(descriptor_, &byte, 1, MSG_DONTWAIT);
        return size == 0 || (size < 0 && errno == ECONNRESET);
    }

private:
    int descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

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

class SingleInstances : public ::testing::Test {
protected:
    /// Runs the event loop until the condition holds; false after the deadline.
    template <typename Condition>
    [[nodiscard]] static bool runUntil(Condition condition, milliseconds limit = kDeadline) {
        const QDeadlineTimer deadline(limit);
        while (!condition()) {
            if (deadline.hasExpired()) {
                return false;
            }
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 10);
        }
        return true;
    }

    /// Another start with these settings, on a thread of its own while the event loop runs here.
    [[nodiscard]] Outcome startAnother(const InstanceRequest& request, milliseconds limit = kDeadline) {
        std::future<Outcome> outcome = std::async(std::launch::async, [&] {
            SingleInstance other(settings);
            return other.takeOrAsk(request, limit);
        });
        EXPECT_TRUE(runUntil([&] { return outcome.wait_for(seconds(0)) == std::future_status::ready; }));
        return outcome.get();
    }

    /// Becomes the instance and answers every request with its arguments.
    void serve() {
        ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
        server.emplace(instance->listeningSocket(), [this](const InstanceRequest& request) {
            requests.push_back(request);
            return CommandResult{0, std::to_string(requests.size())};
        });
    }

    [[nodiscard]] std::filesystem::path socketFile() const { return meetingPlace / (instance->name() + ".socket"); }
    [[nodiscard]] std::filesystem::path lockFile() const { return meetingPlace / (instance->name() + ".lock"); }

    static std::string problemOf(const Outcome& outcome) {
        const auto* const unavailable = std::get_if<SingleInstance::Unavailable>(&outcome);
        return unavailable != nullptr ? unavailable->reason : "no problem: " + std::to_string(outcome.index());
    }
    static bool isTaken(const Outcome& outcome) { return std::holds_alternative<SingleInstance::Taken>(outcome); }
    static std::string answerOf(const Outcome& outcome) {
        const auto* const answered = std::get_if<SingleInstance::Answered>(&outcome);
        return answered != nullptr ? answered->result.text : "no answer: " + std::to_string(outcome.index());
    }

    int argumentCount = 1;
    char program[7] = "corvel";
    char* arguments[2] = {program, nullptr};
    const TemporaryFolder folder;
    const TemporaryFolder runtime;
    const ScopedEnvironment runtimeVariable{"XDG_RUNTIME_DIR", runtime.path().string()};
    const std::filesystem::path meetingPlace = runtime / "corvel";
    const std::filesystem::path settings = folder / "Corvel";
    std::unique_ptr<QCoreApplication> application = std::make_unique<QCoreApplication>(argumentCount, arguments);
    std::optional<SingleInstance> instance{std::in_place, settings};
    std::optional<InstanceServer> server;
    std::vector<InstanceRequest> requests;
};

TEST_F(SingleInstances, TheFirstTakesThePlaceAndAnswersTheOthers) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    server.emplace(instance->listeningSocket(), [](const InstanceRequest& request) {
        return CommandResult{static_cast<int>(request.arguments.size()),
                             request.folder.string() + request.arguments[1]};
    });
    const Outcome outcome = startAnother({"/stage/", {"--set", "Live \xFF\n"}});
    EXPECT_EQ(std::get<SingleInstance::Answered>(outcome).result, (CommandResult{2, "/stage/Live \xFF\n"}));
}

TEST_F(SingleInstances, AnswersMoreThanASocketHolds) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    const std::string longText(5'000'000, 'x');
    server.emplace(instance->listeningSocket(), [&](const InstanceRequest&) { return CommandResult{0, longText}; });
    EXPECT_TRUE(answerOf(startAnother({"/", {std::string(1'000'000, 'y')}})) == longText);
}

TEST_F(SingleInstances, SaysThatARequestIsNoneOfItsBusiness) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    server.emplace(instance->listeningSocket(), [](const InstanceRequest&) { return std::nullopt; });
    EXPECT_TRUE(std::holds_alternative<SingleInstance::Declined>(startAnother({})));
}

TEST_F(SingleInstances, EachPlaceOfSettingsHasItsOwn) {
    serve();
    SingleInstance other(folder / "Other");
    EXPECT_TRUE(isTaken(other.takeOrAsk({}, kShortLimit)));
}

TEST_F(SingleInstances, APlaceOfSettingsIsTheSameByAnyName) {
    std::filesystem::create_directories(folder / "Corvel");
    std::filesystem::create_directory_symlink(folder / "Corvel", folder / "link");
    EXPECT_EQ(SingleInstance(folder / "link").name(), instance->name());
    EXPECT_EQ(SingleInstance(folder / "nowhere/../Corvel").name(), instance->name());
}

TEST_F(SingleInstances, ThePlaceIsFreeWhenTheInstanceHasEnded) {
    serve();
    server.reset();
    instance.reset();
    instance.emplace(settings);
    EXPECT_TRUE(isTaken(instance->takeOrAsk({}, kShortLimit)));
}

TEST_F(SingleInstances, AStartTakesOverFromAnInstanceThatEndsWithoutAnAnswer) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    QTimer::singleShot(milliseconds(50), application.get(), [this] {
        server.reset();
        instance.reset();
    });
    EXPECT_TRUE(isTaken(startAnother({})));
}

TEST_F(SingleInstances, OneThatDoesNotAnswerIsToldOfInTime) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    SingleInstance other(settings);
    const Outcome outcome = other.takeOrAsk({}, kShortLimit);
    EXPECT_EQ(std::get<SingleInstance::NotAnswering>(outcome).reason,
              "Corvel is running already (process " + std::to_string(::getpid()) + "), but does not answer");
}

TEST_F(SingleInstances, DoesNotDoLaterWhatAStartHasGivenUp) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    SingleInstance other(settings);
    ASSERT_TRUE(
        std::holds_alternative<SingleInstance::NotAnswering>(other.takeOrAsk({"/", {"--set", "1"}}, kShortLimit)));
    server.emplace(instance->listeningSocket(), [this](const InstanceRequest& request) {
        requests.push_back(request);
        return CommandResult{0, "done"};
    });
    EXPECT_EQ(answerOf(startAnother({"/", {"--set", "2"}})), "done");
    EXPECT_THAT(requests, ElementsAre(InstanceRequest{"/", {"--set", "2"}}));
}

TEST_F(SingleInstances, OfManyThatStartAtTheSameTimeOneTakesThePlace) {
    constexpr int kStarts = 16;
    std::barrier<> start(kStarts);
    std::barrier<> end(kStarts);
    std::vector<std::future<Outcome>> starts;
    std::generate_n(std::back_inserter(starts), kStarts, [&] {
        return std::async(std::launch::async, [&] {
            SingleInstance other(settings);
            start.arrive_and_wait();
            Outcome outcome = other.takeOrAsk({}, milliseconds(300));
            // The instance stays until all have tried.
            end.arrive_and_wait();
            return outcome;
        });
    });
    int taken = 0;
    int silent = 0;
    for (std::future<Outcome>& other : starts) {
        const Outcome outcome = other.get();
        taken += isTaken(outcome) ? 1 : 0;
        silent += std::holds_alternative<SingleInstance::NotAnswering>(outcome) ? 1 : 0;
    }
    EXPECT_EQ(taken, 1);
    EXPECT_EQ(silent, kStarts - 1);
}

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

mode_t modeOf(const std::filesystem::path& file) {
    struct stat state {};
    return ::lstat(file.c_str(), &state) == 0 ? state.st_mode & 07777U : 0;
}

TEST_F(SingleInstances, KeepsItsFilesToTheUserWhateverTheMask) {
    const mode_t before = ::umask(0);
    serve();
    ::umask(before);
    EXPECT_EQ(modeOf(meetingPlace), 0700U);
    EXPECT_EQ(modeOf(socketFile()), 0600U);
    EXPECT_EQ(modeOf(lockFile()), 01600U) << "sticky, so that nobody tidies it away";
    EXPECT_EQ(tests::readFile(lockFile()), std::to_string(::getpid()) + "\n");
}

TEST_F(SingleInstances, LeavesNoSocketBehind) {
    serve();
    const std::string name = instance->name();
    server.reset();
    instance.reset();
    EXPECT_THAT(tests::entries(meetingPlace), ElementsAre(name + ".lock"));
}

TEST_F(SingleInstances, TakesThePlaceOfAProcessThatLeftItsSocketBehind) {
    const pid_t child = ::fork();
    if (child == 0) {
        std::ignore = instance->takeOrAsk({});
        ::kill(::getpid(), SIGKILL);
    }
    ::waitpid(child, nullptr, 0);
    ASSERT_TRUE(std::filesystem::exists(socketFile()));
    serve();
    EXPECT_EQ(answerOf(startAnother({})), "1");
}

TEST_F(SingleInstances, APathLongerThanASocketAddressDoesNoHarm) {
    std::filesystem::path deep = runtime.path();
    while (deep.native().size() < 1'000) {
        deep /= std::string(200, 'x');
    }
    std::filesystem::create_directories(deep);
    const ScopedEnvironment variable("XDG_RUNTIME_DIR", deep.string());
    serve();
    EXPECT_EQ(answerOf(startAnother({})), "1");
    EXPECT_TRUE(std::filesystem::is_socket(deep / "corvel" / (instance->name() + ".socket")));
}

TEST_F(SingleInstances, AProgramThatTheInstanceStartsDoesNotKeepThePlace) {
    serve();
    const pid_t child = ::fork();
    if (child == 0) {
        ::execlp("sleep", "sleep", "100", nullptr);
        ::_exit(1);
    }
    const auto hasBecomeSleep = [child] {
        return tests::readFile("/proc/" + std::to_string(child) + "/comm") == "sleep\n";
    };
    EXPECT_TRUE(runUntil(hasBecomeSleep));
    server.reset();
    instance.reset();
    SingleInstance other(settings);
    EXPECT_TRUE(isTaken(other.takeOrAsk({}, kShortLimit)));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST_F(SingleInstances, OneThatHangsBeforeItListensIsToldOfByTheNumberInTheLockFile) {
    std::filesystem::create_directory(meetingPlace);
    std::filesystem::permissions(meetingPlace, static_cast<std::filesystem::perms>(0700));
    const int lock = ::open(lockFile().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    EXPECT_EQ(std::get<SingleInstance::NotAnswering>(instance->takeOrAsk({}, kShortLimit)).reason,
              "Corvel is running already, but does not answer");
    ASSERT_EQ(::write(lock, "4711\n", 5), 5);
    EXPECT_EQ(std::get<SingleInstance::NotAnswering>(instance->takeOrAsk({}, kShortLimit)).reason,
              "Corvel is running already (process 4711), but does not answer");
    ::close(lock);
    EXPECT_TRUE(isTaken(instance->takeOrAsk({}, kShortLimit)));
}

TEST_F(SingleInstances, ACrowdThatWaitsBeforeAHangingInstanceHoldsUpNobodyPastTheLimit) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    std::vector<RawClient> crowd;
    constexpr std::size_t kBacklog = 65;
    for (std::size_t count = 0; count < kBacklog; ++count) {
        crowd.emplace_back(socketFile());
    }
    SingleInstance other(settings);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(std::get<SingleInstance::NotAnswering>(other.takeOrAsk({}, kShortLimit)).reason,
              "Corvel is running already (process " + std::to_string(::getpid()) + "), but does not answer");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, seconds(2));
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
    tests::writeFile(runtime / "file", "");
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
    EXPECT_THAT(tests::entries(folder.path()), IsEmpty());
}

TEST_F(NoMeetingPlace, ItsLockFileIsALinkToElsewhere) {
    std::filesystem::create_directory(meetingPlace);
    std::filesystem::permissions(meetingPlace, static_cast<std::filesystem::perms>(0700));
    std::filesystem::create_symlink(folder / "victim", lockFile());
    EXPECT_EQ(problem(runtime.path(), settings), lockFile().string() + ": Too many levels of symbolic links");
    EXPECT_THAT(tests::entries(folder.path()), IsEmpty());
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
}  // namespace corvel
