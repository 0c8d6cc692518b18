#include "program/ServiceManager.hpp"

#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <string>

namespace corvel::tests {
namespace {

/// The socket of a service manager; "@" at the start of the address makes an abstract name.
class ListeningManager {
public:
    explicit ListeningManager(const std::string& address)
        : descriptor_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
        sockaddr_un own{};
        own.sun_family = AF_UNIX;
        std::ranges::copy(address, &own.sun_path[0]);
        if (address.starts_with('@')) {
            own.sun_path[0] = '\0';
        }
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
        EXPECT_EQ(::bind(descriptor_, reinterpret_cast<const sockaddr*>(&own), length), 0);
    }
    ListeningManager(const ListeningManager&) = delete;
    ListeningManager& operator=(const ListeningManager&) = delete;
    ~ListeningManager() { ::close(descriptor_); }

    /// The next datagram; no value if there is none.
    [[nodiscard]] std::optional<std::string> received() const {
        std::array<char, 256> buffer{};
        const ssize_t size = ::recv(descriptor_, buffer.data(), buffer.size(), 0);
        return size < 0 ? std::nullopt : std::optional(std::string(buffer.data(), static_cast<std::size_t>(size)));
    }

private:
    int descriptor_;
};

class ServiceManagerTest : public ::testing::Test {
protected:
    const TemporaryFolder folder;
    const std::string address = (folder / "notify").string();
};

TEST_F(ServiceManagerTest, IsToldThatTheServiceIsReadyAndThatItStops) {
    const ListeningManager listening(address);
    const ScopedEnvironment variable("NOTIFY_SOCKET", address);
    const ServiceManager manager;
    EXPECT_EQ(listening.received(), std::nullopt);
    manager.tellReady("Routing MIDI");
    EXPECT_EQ(listening.received(), "READY=1\nSTATUS=Routing MIDI");
    manager.tellStopping();
    EXPECT_EQ(listening.received(), "STOPPING=1");
    EXPECT_EQ(listening.received(), std::nullopt);
}

TEST_F(ServiceManagerTest, IsToldAtAnAbstractNameToo) {
    const std::string name = '@' + address;
    const ListeningManager listening(name);
    const ScopedEnvironment variable("NOTIFY_SOCKET", name);
    const ServiceManager manager;
    manager.tellStopping();
    EXPECT_EQ(listening.received(), "STOPPING=1");
}

TEST_F(ServiceManagerTest, IsNotPassedOnToOtherPrograms) {
    const ListeningManager listening(address);
    const ScopedEnvironment variable("NOTIFY_SOCKET", address);
    const ServiceManager manager;
    EXPECT_EQ(std::getenv("NOTIFY_SOCKET"), nullptr);
}

TEST_F(ServiceManagerTest, IsDoneWithoutWhereThereIsNoneOrItsAddressIsWrong) {
    for (const std::optional<std::string>& wrong :
         {std::optional<std::string>(), std::optional<std::string>(""), std::optional<std::string>("relative"),
          std::optional<std::string>((folder / "nobody").string()),
          std::optional<std::string>(std::string(200, '/'))}) {
        const ScopedEnvironment variable("NOTIFY_SOCKET", wrong);
        const ServiceManager manager;
        manager.tellReady("Routing MIDI");
        manager.tellStopping();
    }
}

TEST_F(ServiceManagerTest, DoesNotHoldUpTheServiceWhenItReadsNothing) {
    const ListeningManager listening(address);
    const ScopedEnvironment variable("NOTIFY_SOCKET", address);
    const ServiceManager manager;
    for (int count = 0; count < 10'000; ++count) {
        manager.tellStopping();
    }
    EXPECT_EQ(listening.received(), "STOPPING=1");
}

TEST(Journal, IsRecognisedByItsDeviceAndInode) {
    struct stat status {};
    ASSERT_EQ(::fstat(STDERR_FILENO, &status), 0);
    const std::string own = std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
    {
        const ScopedEnvironment stream("JOURNAL_STREAM", own);
        EXPECT_TRUE(ServiceManager::isJournal(STDERR_FILENO));
        EXPECT_FALSE(ServiceManager::isJournal(-1));
    }
    {
        // Another program's journal, inherited by a program whose output goes elsewhere.
        const ScopedEnvironment stream("JOURNAL_STREAM", "1:" + std::to_string(status.st_ino));
        EXPECT_FALSE(ServiceManager::isJournal(STDERR_FILENO));
    }
    const ScopedEnvironment stream("JOURNAL_STREAM", std::nullopt);
    EXPECT_FALSE(ServiceManager::isJournal(STDERR_FILENO));
}

}  // namespace
}  // namespace corvel::tests
