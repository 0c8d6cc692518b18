#pragma once

#include "core/host/MIDIHost.hpp"
#include "core/support/EventLoop.hpp"
#include "tests/support/SequencerPeer.hpp"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace corvel::tests {

/// An endpoint with all properties that a host reports.
using ListedEndpoint = MIDIEndpointRecord;

/// One packet as it was delivered.
struct DeliveredPacket {
    MIDIObjectRef connection = 0;
    Bytes bytes;

    bool operator==(const DeliveredPacket&) const = default;
};

/// The ALSA host on its own queue, as the engine uses it. Records all reports.
class HostUnderTest {
public:
    /// The host without a client.
    HostUnderTest();
    HostUnderTest(const HostUnderTest&) = delete;
    HostUnderTest& operator=(const HostUnderTest&) = delete;
    ~HostUnderTest();

    /// Creates the client "Corvel" and its two ports.
    void start();
    /// Disposes of them; the client on this thread.
    void dispose();

    [[nodiscard]] MIDIHost& host() { return *host_; }
    [[nodiscard]] MIDIObjectRef client() const { return client_; }
    [[nodiscard]] MIDIObjectRef inputPort() const { return inputPort_; }
    [[nodiscard]] MIDIObjectRef outputPort() const { return outputPort_; }

    /// Runs a function on the host's queue as one task, and waits for it.
    template <typename Callable>
    auto onQueue(Callable callable) {
        if constexpr (std::is_void_v<std::invoke_result_t<Callable>>) {
            queue_->sync([&] { callable(); });
        } else {
            std::optional<std::invoke_result_t<Callable>> result;
            queue_->sync([&] { result.emplace(callable()); });
            return std::move(*result);
        }
    }
    /// Calls the function with the number of packets on the host's queue after each delivery.
    void setOnDelivery(std::function<void(std::size_t)> handler);
    /// Blocks the queue, or the main queue, until the returned function is called.
    [[nodiscard]] std::function<void()> holdQueue() { return hold(*queue_); }
    [[nodiscard]] std::function<void()> holdMainQueue() { return hold(*mainQueue_); }

    // Single operations, each in a task of its own; listings examine all ports
    [[nodiscard]] std::shared_ptr<const MIDISetup> setup();
    [[nodiscard]] std::vector<ListedEndpoint> sources();
    [[nodiscard]] std::vector<ListedEndpoint> destinations();
    /// The display names with this prefix, in the order of their references.
    [[nodiscard]] std::vector<std::string> sourceNames(const std::string& prefix);
    [[nodiscard]] std::vector<std::string> destinationNames(const std::string& prefix);
    /// The only endpoint with this display name; throws if there is none or more than one.
    [[nodiscard]] ListedEndpoint source(const std::string& displayName);
    [[nodiscard]] ListedEndpoint destination(const std::string& displayName);
    [[nodiscard]] MIDIStatus connect(MIDIObjectRef source);
    MIDIStatus disconnect(MIDIObjectRef source);
    [[nodiscard]] MIDIStatus send(MIDIObjectRef destination, const Bytes& bytes);
    /// A manual reload as the engine does it: lists all ports again, disconnects and connects all sources, in one task.
    void reload(const std::vector<MIDIObjectRef>& connected);

    // Reports so far
    [[nodiscard]] std::vector<DeliveredPacket> deliveries();
    [[nodiscard]] Bytes deliveredBytes();
    [[nodiscard]] std::vector<MIDINotification> notifications();
    /// Without those about the thread's priority.
    [[nodiscard]] std::vector<std::string> diagnostics();
    /// Whether a notification came on a thread other than the main queue's.
    [[nodiscard]] bool notifiedElsewhere();

    /// Waits for reports until the condition holds; the condition uses the operations above.
    [[nodiscard]] bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit = kDeadline);

private:
    struct Reports {
        std::mutex mutex;
        std::condition_variable changed;
        std::vector<DeliveredPacket> deliveries;
        std::vector<MIDINotification> notifications;
        std::vector<std::string> diagnostics;
        bool notifiedElsewhere = false;
        /// Belongs to the host's queue.
        std::function<void(std::size_t)> onDelivery;
    };

    [[nodiscard]] static std::function<void()> hold(EventLoop& queue);

    template <typename Value>
    [[nodiscard]] Value copy(Value Reports::*field) {
        const std::lock_guard lock(reports_->mutex);
        return (*reports_).*field;
    }
    std::shared_ptr<Reports> reports_ = std::make_shared<Reports>();
    std::shared_ptr<EventLoop> queue_;
    std::shared_ptr<EventLoop> mainQueue_;
    std::shared_ptr<MIDIHost> host_;
    MIDIObjectRef client_ = 0;
    MIDIObjectRef inputPort_ = 0;
    MIDIObjectRef outputPort_ = 0;
};

}  // namespace corvel::tests
