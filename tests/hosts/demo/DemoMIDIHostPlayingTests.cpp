#include "hosts/demo/DemoMIDIHost.hpp"

#include "tests/support/Deadline.hpp"
#include "tests/support/ManualQueue.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <utility>

namespace corvel::tests {
namespace {

using hosts::DemoMIDIHost;

/// Records what a service plays on its own thread.
class Listener {
public:
    void receive(std::span<const MIDIArrival> arrivals) {
        const std::lock_guard lock(mutex_);
        for (const MIDIArrival& arrival : arrivals) {
            const MIDIBytes& bytes = arrival.bytes;
            const int kind = bytes[0] & 0xF0;
            if (kind == 0x90) {
                sounding_.insert({bytes[0] & 0x0F, bytes[1]});
                ++noteCount_;
            } else if (kind == 0x80) {
                sounding_.erase({bytes[0] & 0x0F, bytes[1]});
            }
        }
        if (noteCount_ > 0 && !hasHeard_) {
            hasHeard_ = true;
            heard_.set_value();
        }
    }

    /// Waits for the first note; false after the deadline.
    [[nodiscard]] bool waitForANote() { return heard_.get_future().wait_for(kDeadline) == std::future_status::ready; }

    [[nodiscard]] std::size_t soundingCount() const {
        const std::lock_guard lock(mutex_);
        return sounding_.size();
    }

private:
    mutable std::mutex mutex_;
    std::promise<void> heard_;
    bool hasHeard_ = false;
    std::set<std::pair<int, int>> sounding_;
    int noteCount_ = 0;
};

/// Waits until the thread that plays sleeps; false after the deadline.
bool waitUntilThePlayerSleeps() {
    const auto end = std::chrono::steady_clock::now() + kDeadline;
    while (std::chrono::steady_clock::now() < end) {
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
            // For example "4711 (app.corvel.demo) S 4709 …".
            std::ifstream file(entry.path() / "stat");
            std::string status;
            std::getline(file, status);
            if (status.find("(app.corvel.demo) S") != std::string::npos) {
                return true;
            }
        }
        std::this_thread::yield();
    }
    return false;
}

/// Connects all sources of a service that plays by itself.
void connectAll(DemoMIDIHost& host, const MIDIHost::ReceiveHandler& handler) {
    const MIDIObjectRef client = host.createClient("Test", {}).ref;
    const MIDIObjectRef input = host.createInputPort(client, "In", handler).ref;
    const std::shared_ptr<const MIDISetup> setup = host.setup(MIDIListing::known);
    for (const MIDIEndpointRecord& source : setup->sources) {
        ASSERT_EQ(host.connectSource(input, source.ref, 1), kMIDISuccess);
    }
}

TEST(DemoMIDIHostPlaying, EndsEveryNoteThatItPlaysWhenItGoes) {
    auto host = hosts::makeDemoMIDIHost(std::make_shared<ManualQueue>());
    Listener listener;
    connectAll(*host, [&listener](auto arrivals) { listener.receive(arrivals); });
    ASSERT_TRUE(listener.waitForANote());

    host.reset();

    EXPECT_EQ(listener.soundingCount(), 0U);
}

TEST(DemoMIDIHostPlaying, LetsANotificationArriveWhileAReceiverTakesTheEnd) {
    const auto queue = std::make_shared<ManualQueue>();
    auto host = hosts::makeDemoMIDIHost(queue);
    bool isNotified = false;
    static_cast<void>(host->createClient("Observer", [&](const MIDINotification&) { isNotified = true; }));
    Listener listener;
    std::atomic<bool> isEnding = false;
    connectAll(*host, [&](std::span<const MIDIArrival> arrivals) {
        listener.receive(arrivals);
        if (isEnding) {
            queue->runAll();
        }
    });
    ASSERT_TRUE(listener.waitForANote());
    const MIDIObjectRef drums = host->setup(MIDIListing::known)->sources[1].ref;
    host->setOffline(drums, true);

    isEnding = true;
    host.reset();

    EXPECT_TRUE(isNotified);
}

TEST(DemoMIDIHostPlaying, MayBeReleasedByAReceiverOnItsOwnThread) {
    /// The last reference to the service, which the handler gets once everything is connected.
    struct Owner {
        std::mutex mutex;
        std::shared_ptr<DemoMIDIHost> host;
        std::promise<void> isGone;
    };
    auto host = hosts::makeDemoMIDIHost(std::make_shared<ManualQueue>());
    const auto owner = std::make_shared<Owner>();
    // Destroyed with the handlers, which the state that the playing thread holds destroys at its end.
    std::shared_ptr<void> witness(nullptr, [owner](void*) { owner->isGone.set_value(); });
    connectAll(*host, [owner, kept = std::move(witness)](auto) {
        const std::lock_guard lock(owner->mutex);
        owner->host.reset();
    });
    {
        const std::lock_guard lock(owner->mutex);
        owner->host = std::move(host);
    }
    EXPECT_EQ(owner->isGone.get_future().wait_for(kDeadline), std::future_status::ready);
}

TEST(DemoMIDIHostPlaying, IsWokenByTheFirstConnection) {
    Listener listener;
    const auto host = hosts::makeDemoMIDIHost(std::make_shared<ManualQueue>());
    ASSERT_TRUE(waitUntilThePlayerSleeps());
    connectAll(*host, [&listener](auto arrivals) { listener.receive(arrivals); });
    EXPECT_TRUE(listener.waitForANote());
}

TEST(DemoMIDIHostPlaying, IsWokenByASourceThatIsNoLongerOffline) {
    Listener listener;
    const auto host = hosts::makeDemoMIDIHost(std::make_shared<ManualQueue>());
    const std::shared_ptr<const MIDISetup> setup = host->setup(MIDIListing::known);
    for (const MIDIEndpointRecord& source : setup->sources) {
        host->setOffline(source.ref, true);
    }
    connectAll(*host, [&listener](auto arrivals) { listener.receive(arrivals); });
    ASSERT_TRUE(waitUntilThePlayerSleeps());
    host->setOffline(setup->sources[0].ref, false);
    EXPECT_TRUE(listener.waitForANote());
}

TEST(DemoMIDIHostPlaying, EndsThePieceOfADeviceThatIsTakenOfflineOrRemoved) {
    for (const bool isRemoved : {false, true}) {
        std::promise<void> struck;
        std::promise<void> ended;
        int events = 0;
        const auto host = hosts::makeDemoMIDIHost(std::make_shared<ManualQueue>());
        const auto handler = [&](std::span<const MIDIArrival> arrivals) {
            for (const MIDIArrival& arrival : arrivals) {
                if (arrival.bytes[0] == 0x90 && events == 0) {
                    ++events;
                    struck.set_value();
                } else if (arrival.bytes[0] == 0xE0 && events == 1) {
                    // The bend's reset completes the end of the keyboard's piece.
                    ++events;
                    ended.set_value();
                }
            }
        };
        const MIDIObjectRef client = host->createClient("Test", {}).ref;
        const MIDIObjectRef input = host->createInputPort(client, "In", handler).ref;
        const MIDIObjectRef keyboard = host->setup(MIDIListing::known)->sources[0].ref;
        ASSERT_EQ(host->connectSource(input, keyboard, 1), kMIDISuccess);
        ASSERT_EQ(struck.get_future().wait_for(kDeadline), std::future_status::ready);

        if (isRemoved) {
            host->removeEndpoint(keyboard);
        } else {
            host->setOffline(keyboard, true);
        }

        EXPECT_EQ(ended.get_future().wait_for(kDeadline), std::future_status::ready) << isRemoved;
    }
}

}  // namespace
}  // namespace corvel::tests
