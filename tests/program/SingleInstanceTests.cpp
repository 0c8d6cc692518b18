#include "program/InstanceMessage.hpp"
#include "tests/program/SingleInstanceFixture.hpp"

#include <QTimer>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <barrier>
#include <csignal>

namespace corvel::tests {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::SizeIs;

using Outcome = SingleInstance::Outcome;

TEST_F(SingleInstances, TheFirstTakesThePlaceAndAnswersTheOthers) {
    ASSERT_TRUE(isTaken(instance->takeOrAsk({})));
    server.emplace(instance->listeningSocket(), [](const InstanceRequest& request) {
        return CommandResult{static_cast<int>(request.arguments.size()),
                             request.folder.string() + request.arguments[1]};
    });
    const Outcome outcome = startAnother({"/stage/", {"--set", "Live \xFF\n"}});
    EXPECT_EQ(std::get<SingleInstance::Answered>(outcome).result, (CommandResult{2, "/stage/Live \xFF\n"}));
}

TEST_F(SingleInstances, CarriesOutARequestThatWaitsInOneTurnOfTheEventLoop) {
    serve();
    const RawClient client(socketFile());
    client.send(InstanceMessage::encoded(InstanceRequest{"/", {"--sets"}}));
    QCoreApplication::processEvents();
    EXPECT_THAT(requests, SizeIs(1));
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
    EXPECT_THAT(entries(meetingPlace), ElementsAre(name + ".lock"));
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

}  // namespace
}  // namespace corvel::tests
