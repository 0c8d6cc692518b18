#pragma once

#include "hosts/RealtimeBroker.hpp"

#include <chrono>
#include <functional>
#include <stop_token>
#include <string>
#include <thread>

namespace corvel {

/// Asks RealtimeKit, the desktop's service for real-time priority, over D-Bus.
///
/// RealtimeKit grants it to programs that limit the processor time of their real-time threads. So this sets the limit
/// that it demands (`RealtimeAlarm::limit`), and asks for no more than the priority that it offers.
class RealtimeKit {
public:
    /// Time limit of each of its answers; the system may have to start it first.
    static constexpr std::chrono::milliseconds kAnswerLimit{5'000};

    /// The system bus: what `DBUS_SYSTEM_BUS_ADDRESS` names, or the usual socket.
    [[nodiscard]] static std::string systemBusAddress();

    explicit RealtimeKit(std::string busAddress = systemBusAddress()) : busAddress_(std::move(busAddress)) {}

    /// Asks for the priority on a thread of this object and returns at once. One thread at a time, and only one request
    /// at a time. `answer` is called on this object's thread, or never if the object is destroyed first.
    void request(pid_t thread, int priority, const std::function<void(hosts::RealtimeAnswer)>& answer);

private:
    const std::string busAddress_;
    /// Stopped by the destructor, which waits for its end. A stop ends its wait for an answer, but not its connecting
    /// to the bus.
    std::jthread thread_;
};

}  // namespace corvel
