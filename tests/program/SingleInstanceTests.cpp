#include "program/SingleInstance.hpp"

#include "program/QtMainQueue.hpp"
#include "tests/support/Deadline.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <barrier>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstring>
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
using tests::TemporaryFolder;

using Outcome = SingleInstance::Outcome;

/// For what never comes.
constexpr milliseconds kShortLimit{100};

/// A process that speaks to the instance without its manners.
class RawClient {
public:
    explicit RawClient(const QString& name) {
        const auto [address, size] = RawClient::address(name);
        if (descriptor_ < 0 || ::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), size) != 0) {
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

    static std::pair<sockaddr_un, socklen_t> address(const QString& name) {
        const std::string text = name.toStdString();
        sockaddr_un result{};
        result.sun_family = AF_UNIX;
        std::memcpy(result.sun_path + 1, text.data(), text.size());
        return {result, static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size())};
    }

    void send(const std::string& bytes) const {
        std::ignore = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }

    /// Whether the other side has let go.
    [[nodiscard]] bool isDropped() const {
        char byte = 0;
        const ssize_t size = ::recv(descriptor_, &byte, 1, MSG_DONTWAIT);
        return size == 0 || (size < 0 && errno == ECONNRESET);
    }

private:
    int descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

/// How many descriptors this process may have, until the end of the scope.
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
    /// The event loop runs until the condition holds; false past the deadline.
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

    /// Another start on these settings, in a thread of its own while the event loop runs here.
    [[nodiscard]] Outcome startAnother(const InstanceRequest& request, milliseconds limit = kDeadline) {
        std::future<Outcome> outcome = std::async(std::launch::async, [&] {
            SingleInstance other(settings);
            return other.takeOrAsk(request, limit);
        });
        EXPECT_TRUE(runUntil([&] { return outcome.wait_for(seconds(0)) == std::future_status::ready; }));
        return outcome.get();
    }

    /// Takes the place and answers every request with its arguments.
    void serve() {
        ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
        instance->serve([this](const InstanceRequest& request) {
            requests.push_back(request);
            return CommandResult{0, std::to_string(requests.size())};
        });
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
    const std::filesystem::path settings = folder / "Corvel/Corvel.ini";
    std::unique_ptr<QCoreApplication> application = std::make_unique<QCoreApplication>(argumentCount, arguments);
    std::optional<SingleInstance> instance{std::in_place, settings};
    std::vector<InstanceRequest> requests;
};

TEST_F(SingleInstances, TheFirstTakesThePlaceAndAnswersTheOthers) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    instance->serve([](const InstanceRequest& request) {
        return CommandResult{static_cast<int>(request.arguments.size()),
                             request.folder.string() + request.arguments[1]};
    });
    const Outcome outcome = startAnother({"/stage/", {"--set", "Live \xFF\n"}});
    EXPECT_EQ(std::get<SingleInstance::Answered>(outcome).result, (CommandResult{2, "/stage/Live \xFF\n"}));
}

TEST_F(SingleInstances, AnswersMoreThanASocketHolds) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    const std::string longText(5'000'000, 'x');
    instance->serve([&](const InstanceRequest&) { return CommandResult{0, longText}; });
    EXPECT_TRUE(answerOf(startAnother({"/", {std::string(1'000'000, 'y')}})) == longText);
}

TEST_F(SingleInstances, SaysThatARequestIsNoneOfItsBusiness) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    instance->serve([](const InstanceRequest&) { return std::nullopt; });
    EXPECT_TRUE(std::holds_alternative<SingleInstance::Declined>(startAnother({})));
}

TEST_F(SingleInstances, EachPlaceOfSettingsHasItsOwn) {
    serve();
    SingleInstance other(folder / "Other/Corvel.ini");
    EXPECT_TRUE(isTaken(other.takeOrAsk({}, kShortLimit)));
}

TEST_F(SingleInstances, APlaceOfSettingsIsTheSameByAnyName) {
    std::filesystem::create_directories(folder / "Corvel");
    std::filesystem::create_directory_symlink(folder / "Corvel", folder / "link");
    EXPECT_EQ(SingleInstance(folder / "link/Corvel.ini").name(), instance->name());
    EXPECT_EQ(SingleInstance(folder / "nowhere/../Corvel/Corvel.ini").name(), instance->name());
}

TEST_F(SingleInstances, ThePlaceIsFreeWhenTheInstanceHasEnded) {
    serve();
    instance.reset();
    instance.emplace(settings);
    EXPECT_TRUE(isTaken(instance->takeOrAsk({}, kShortLimit)));
}

TEST_F(SingleInstances, AStartTakesOverFromAnInstanceThatEndsWithoutAnAnswer) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    QTimer::singleShot(milliseconds(50), application.get(), [this] { instance.reset(); });
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
    instance->serve([this](const InstanceRequest& request) {
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
            // Whoever has the place keeps it until all have tried.
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
        const RawClient client(instance->name());
        client.send(nonsense);
        EXPECT_TRUE(runUntil([&] { return client.isDropped(); }));
    }
    EXPECT_EQ(answerOf(startAnother({})), "1");
}

TEST_F(SingleInstances, LetsGoOfWhoSaysNothing) {
    serve();
    const RawClient silent(instance->name());
    const RawClient halfway(instance->name());
    halfway.send("corvel 1");
    EXPECT_EQ(answerOf(startAnother({})), "1") << "nobody else is held up";
    EXPECT_TRUE(runUntil([&] { return silent.isDropped() && halfway.isDropped(); }));
}

TEST_F(SingleInstances, AnswersBesideAThousandConnectionsThatSayNothing) {
    serve();
    const DescriptorLimit enough(2'000);
    std::vector<RawClient> crowd;
    for (int count = 0; count < 1'000; ++count) {
        crowd.emplace_back(instance->name());
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(answerOf(startAnother({})), "1");
    EXPECT_GE(std::ranges::count_if(crowd, &RawClient::isDropped), 1'000 - 32);
    EXPECT_TRUE(runUntil([&] { return std::ranges::all_of(crowd, &RawClient::isDropped); }));
    EXPECT_EQ(answerOf(startAnother({})), "2");
}

TEST_F(SingleInstances, KeepsThePlaceWhereNoDescriptorIsLeftForAConnection) {
    serve();
    const RawClient client(instance->name());
    {
        const DescriptorLimit none(3);
        for (int turn = 0; turn < 3; ++turn) {
            QCoreApplication::processEvents();
        }
    }
    SingleInstance other(settings);
    EXPECT_TRUE(std::holds_alternative<SingleInstance::NotAnswering>(other.takeOrAsk({}, kShortLimit)));
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

/// A process of another user, which only root can make.
class StrangerProcess {
public:
    /// `life` runs in the process; it ends with this object.
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

TEST_F(SingleInstances, DoesWithoutAPlaceThatAnotherUserHolds) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user";
    }
    const Pipe ready;
    const StrangerProcess stranger([&] {
        const auto [address, size] = RawClient::address(instance->name());
        const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if (::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
            ::listen(descriptor, 10) == 0) {
            std::ignore = ::write(ready.ends[1], "x", 1);
            ::pause();
        }
    });
    char byte = 0;
    ASSERT_EQ(::read(ready.ends[0], &byte, 1), 1);
    EXPECT_EQ(std::get<SingleInstance::Unavailable>(instance->takeOrAsk({})).reason,
              "another user holds the name for it");
}

TEST_F(SingleInstances, HasNothingToDoWithOtherUsers) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user";
    }
    serve();
    const Pipe done;
    const StrangerProcess stranger([&] {
        const RawClient client(instance->name());
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

}  // namespace
}  // namespace corvel
