#pragma once

#include "hosts/jack/JackService.hpp"
#include "tests/hosts/jack/FakeJackServer.hpp"
#include "tests/support/ManualEventLoop.hpp"
#include "tests/support/ManualQueue.hpp"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvel::hosts {

/// The service with its worker over a fake server, with queues driven by hand: the test acts as engine and performer.
class JackServiceTest : public testing::Test {
protected:
    using Bytes = std::vector<std::uint8_t>;
    using FakeJackEvent = tests::FakeJackEvent;
    using FakeJackServer = tests::FakeJackServer;
    using ManualEventLoop = tests::ManualEventLoop;
    using ManualQueue = tests::ManualQueue;

    JackServiceTest() {
        service_->setDiagnosticHandler(
            [this](std::string message, MIDIStatus) { diagnostics_.push_back(std::move(message)); });
    }
    ~JackServiceTest() override { ::close(bell_); }

    void start() {
        onQueue([this] {
            service_->open(bell_, [this](const MIDINotification& notification) {
                notifications_.push_back(notification.messageID);
                lastNotification_ = notification;
            });
            service_->setReceiveHandler([this](std::span<const MIDIArrival> arrivals) {
                deliveries_.push_back(arrivals.size());
                for (const MIDIArrival& arrival : arrivals) {
                    received_.emplace_back(arrival.connection, Bytes(arrival.bytes.begin(), arrival.bytes.end()));
                    if (onArrival_) {
                        onArrival_(arrival);
                    }
                }
            });
        });
        workerQueue_->async([this] { worker_->start(); });
        settle();
    }

    void onQueue(std::function<void()> operation) {
        queue_->async(std::move(operation));
        queue_->runAll();
    }

    /// Runs everything that was posted, and some periods, so that ports are added and removed.
    void settle() {
        for (int count = 0; count < 10; ++count) {
            workerQueue_->advance(std::chrono::milliseconds(25));
            queue_->runAll();
            mainQueue_->runAll();
            queue_->runAll();
            server_->runPeriod();
        }
    }

    /// Runs a period in which these events arrive, and the engine's part of it.
    void play(std::map<std::string, std::vector<FakeJackEvent>> arriving) {
        server_->runPeriod(std::move(arriving));
        queue_->runRound(bell_);
    }

    MIDIObjectRef sourceRef(const std::string& portName) {
        return refOf(service_->setup(MIDIListing::known)->sources, portName);
    }
    MIDIObjectRef destinationRef(const std::string& portName) {
        return refOf(service_->setup(MIDIListing::known)->destinations, portName);
    }
    static MIDIObjectRef refOf(const std::vector<MIDIEndpointRecord>& records, const std::string& portName) {
        for (const MIDIEndpointRecord& record : records) {
            if (record.name == portName) {
                return record.ref;
            }
        }
        return 0;
    }

    /// Connects the source, and uses it.
    void connect(const std::string& portName) {
        connect(portName, sourceRef(portName));
        use(portName);
    }
    /// Connects the source without using it.
    void connect(const std::string& portName, MIDIObjectRef connection) {
        onQueue([&] { EXPECT_EQ(service_->connectSource(sourceRef(portName), connection), kMIDISuccess); });
        settle();
    }
    /// Uses these ports, in addition to those before.
    void use(const std::string& portName) {
        const MIDIObjectRef source = sourceRef(portName);
        (source != 0 ? usedSources_ : usedDestinations_).push_back(source != 0 ? source : destinationRef(portName));
        onQueue([&] { service_->setUsedEndpoints(usedSources_, usedDestinations_); });
        settle();
    }

    MIDIStatus send(MIDIObjectRef destination, const Bytes& bytes) {
        std::array<MIDISend, 1> sends{{{.destination = destination, .bytes = bytes, .status = 99}}};
        service_->send(sends);
        return sends[0].status;
    }

    const int bell_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    const std::shared_ptr<FakeJackServer> server_ = std::make_shared<FakeJackServer>();
    const std::shared_ptr<ManualEventLoop> queue_ = std::make_shared<ManualEventLoop>();
    const std::shared_ptr<ManualQueue> mainQueue_ = std::make_shared<ManualQueue>();
    const std::shared_ptr<ManualQueue> workerQueue_ = std::make_shared<ManualQueue>();
    const std::shared_ptr<JackProcess> process_ = std::make_shared<JackProcess>([](void*) {}, nullptr);
    std::vector<std::string> diagnostics_;
    /// The identifiers of all notifications, and the last of these.
    std::vector<std::int32_t> notifications_;
    MIDINotification lastNotification_;
    std::vector<std::pair<MIDIObjectRef, Bytes>> received_;
    std::vector<std::size_t> deliveries_;
    std::function<void(const MIDIArrival& arrival)> onArrival_;
    std::vector<MIDIObjectRef> usedSources_;
    std::vector<MIDIObjectRef> usedDestinations_;
    std::size_t wishCount_ = 0;
    std::shared_ptr<JackWorker> worker_ = std::make_shared<JackWorker>(
        workerQueue_, tests::makeFakeJackLibrary(server_), process_,
        JackWorker::Handlers{.onSnapshot =
                                 [this](JackSnapshot snapshot) {
                                     queue_->async([this, snapshot = std::move(snapshot)]() mutable {
                                         service_->takeSnapshot(std::move(snapshot));
                                     });
                                 },
                             .onDiagnostic = [](const std::string&) {}});
    std::shared_ptr<JackService> service_ = std::make_shared<JackService>(
        queue_, mainQueue_, process_, true,
        JackService::Worker{.setWish =
                                [this](JackWish wish) {
                                    ++wishCount_;
                                    workerQueue_->async([this, wish = std::move(wish)]() mutable {
                                        worker_->setWish(std::move(wish));
                                    });
                                },
                            .refresh = [this] { workerQueue_->async([this] { worker_->refresh(); }); }});
};

}  // namespace corvel::hosts
