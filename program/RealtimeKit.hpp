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

    /// Asks for the priority on a thread of this object and returns at once. By one thread at a time, and again only
    /// after the answer. `answer` is called on this object's thread, or never if the object goes first.
    void request(pid_t thread, int priority, const std::function<void(hosts::RealtimeAnswer)>& answer);

private:
    const std::string busAddress_;
    /// Stopped and waited for at the end. It waits for answers in small steps, but for the bus itself without a stop.
    std::jthread thread_;
};

}  // namespace corvel
