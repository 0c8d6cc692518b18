#pragma once

#include "core/host/MIDIHost.hpp"

#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace corvel::tests {

inline constexpr unsigned kSources = 4;
inline constexpr MIDIObjectRef kFirstSource = 11;
inline constexpr MIDIObjectRef kPassingSource = 19;
inline constexpr MIDIObjectRef kSynth = 21;
inline constexpr MIDIObjectRef kDrums = 22;

/// A service that any thread may call. It records every call that breaks the rules. Its sources deliver even while they
/// are disconnected, so no packet may ever be missing.
class StormHost : public MIDIHost {
public:
    struct Sent {
        MIDIObjectRef destination = 0;
        MIDIBytes bytes;
    };

    /// Called for every sent message, without the lock.
    std::function<void()> onSend;

    /// Delivers packets from a source on the calling thread.
    void receive(const std::vector<MIDIBytes>& packets, MIDIObjectRef source) {
        const auto handler = locked([this] { return receiveHandler_; });
        if (handler) {
            std::vector<MIDIArrival> arrivals;
            for (const MIDIBytes& bytes : packets) {
                arrivals.push_back({source, bytes});
            }
            (*handler)(arrivals);
        }
    }

    void notify(const MIDINotification& notification) {
        const auto handler = locked([this] { return notificationHandler_; });
        if (handler) {
            (*handler)(notification);
        }
    }

    void diagnose(std::string message) {
        const auto handler = locked([this] { return diagnosticHandler_; });
        (*handler)(std::move(message), kMIDISuccess);
    }

    /// Adds or removes another source.
    void setPassingSource(bool isPresent) {
        locked([&] { hasPassingSource_ = isPresent; });
    }

    [[nodiscard]] std::vector<Sent> sent() {
        return locked([this] { return sent_; });
    }
    [[nodiscard]] std::vector<std::string> disposals() {
        return locked([this] { return disposals_; });
    }
    [[nodiscard]] std::set<std::string> violations() {
        return locked([this] { return violations_; });
    }
    [[nodiscard]] std::future<std::thread::id> clientDisposal() { return clientDisposal_.get_future(); }

    void setDiagnosticHandler(DiagnosticHandler handler) override {
        locked([&] { diagnosticHandler_ = std::make_shared<const DiagnosticHandler>(std::move(handler)); });
    }

    [[nodiscard]] MIDICreation createClient(std::string_view, NotificationHandler handler) override {
        locked([&] { notificationHandler_ = std::make_shared<const NotificationHandler>(std::move(handler)); });
        return {kMIDISuccess, 1};
    }

    [[nodiscard]] MIDICreation createInputPort(MIDIObjectRef, std::string_view, ReceiveHandler handler) override {
        onQueue("createInputPort",
                [&] { receiveHandler_ = std::make_shared<const ReceiveHandler>(std::move(handler)); });
        return {kMIDISuccess, 2};
    }

    [[nodiscard]] MIDICreation createOutputPort(MIDIObjectRef, std::string_view) override {
        onQueue("createOutputPort", [] {});
        return {kMIDISuccess, 3};
    }

    void disposePort(MIDIObjectRef port) override {
        locked([&] { disposals_.push_back("port " + std::to_string(port)); });
    }

    void disposeClient(MIDIObjectRef client) override {
        locked([&] {
            disposals_.push_back("client " + std::to_string(client));
            if (std::exchange(isDisposed_, true)) {
                violations_.insert("client disposed twice");
                return;
            }
            clientDisposal_.set_value(std::this_thread::get_id());
        });
    }

    [[nodiscard]] std::shared_ptr<const MIDISetup> setup(MIDIListing) override {
        return onQueue("setup", [this] {
            MIDISetup setup;
            setup.destinations = {record(kSynth), record(kDrums)};
            for (unsigned index = 0; index < kSources; ++index) {
                setup.sources.push_back(record(kFirstSource + index));
            }
            if (hasPassingSource_) {
                setup.sources.push_back(record(kPassingSource));
            }
            return std::make_shared<const MIDISetup>(std::move(setup));
        });
    }

    [[nodiscard]] MIDIStatus connectSource(MIDIObjectRef, MIDIObjectRef source, MIDIObjectRef connection) override {
        onQueue("connectSource", [&] {
            if (connection != source || !connected_.insert(source).second) {
                violations_.insert("connected wrongly or twice");
            }
        });
        return kMIDISuccess;
    }
    MIDIStatus disconnectSource(MIDIObjectRef, MIDIObjectRef source) override {
        onQueue("disconnectSource", [&] {
            if (connected_.erase(source) == 0) {
                violations_.insert("disconnected what was not connected");
            }
        });
        return kMIDISuccess;
    }

    void send(MIDIObjectRef, std::span<MIDISend> messages) override {
        for (MIDISend& message : messages) {
            onQueue("send", [&] { sent_.push_back({message.destination, MIDIBytes(message.bytes)}); });
            message.status = kMIDISuccess;
            if (onSend) {
                onSend();
            }
        }
    }

private:
    static MIDIEndpointRecord record(MIDIObjectRef ref) {
        return {{ref, "Endpoint " + std::to_string(ref), {}, {}}, static_cast<std::int32_t>(1000 + ref), {}};
    }

    template <typename Work>
    std::invoke_result_t<Work&> locked(Work&& work) {
        const std::lock_guard lock(mutex_);
        return work();
    }

    /// Does work that is allowed only on the engine's queue and before the client is disposed of.
    template <typename Work>
    std::invoke_result_t<Work&> onQueue(const std::string& operation, Work&& work) {
        const std::lock_guard lock(mutex_);
        if (queueThread_ == std::thread::id()) {
            queueThread_ = std::this_thread::get_id();
        }
        if (queueThread_ != std::this_thread::get_id()) {
            violations_.insert(operation + " off the queue");
        }
        if (!disposals_.empty()) {
            violations_.insert(operation + " after the disposal");
        }
        return work();
    }

    std::mutex mutex_;
    std::shared_ptr<const DiagnosticHandler> diagnosticHandler_;
    std::shared_ptr<const NotificationHandler> notificationHandler_;
    std::shared_ptr<const ReceiveHandler> receiveHandler_;
    std::thread::id queueThread_;
    bool hasPassingSource_ = false;
    bool isDisposed_ = false;
    std::set<MIDIObjectRef> connected_;
    std::vector<Sent> sent_;
    std::vector<std::string> disposals_;
    std::set<std::string> violations_;
    std::promise<std::thread::id> clientDisposal_;
};

}  // namespace corvel::tests
