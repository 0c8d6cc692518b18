#include "hosts/demo/DemoPerformance.hpp"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

namespace corvel::hosts {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// Time from the first connection to the first step, in which all other sources are connected, so that all start
/// together.
constexpr std::chrono::milliseconds kLeadIn{100};

/// A performance that is later than this (after the process was suspended) continues from the present, so that the
/// missed notes are not all played at once.
constexpr std::chrono::milliseconds kWorstDelay{500};

bool isHeardAnywhere(const DemoSetup& setup) {
    return std::ranges::any_of(setup.devices,
                               [&setup](const DemoDevice& device) { return device.player && setup.isHeard(device); });
}

bool isPlayingAnywhere(const DemoSetup& setup) {
    return std::ranges::any_of(setup.devices,
                               [](const DemoDevice& device) { return device.player && device.player->isPlaying(); });
}

/// Whether packets are waiting for a listener that has come back.
bool hasDeliverablePackets(const DemoSetup& setup) {
    return std::ranges::any_of(setup.devices, [&setup](const DemoDevice& device) {
        return device.player && device.player->hasWaiting() && setup.isHeard(device);
    });
}

void takeWaiting(DemoSetup& setup, std::vector<DemoDelivery>& deliveries) {
    for (DemoDevice& device : setup.devices) {
        if (device.player && setup.isHeard(device)) {
            setup.deliver(device, device.player->takeWaiting(), deliveries);
        }
    }
}

void playStep(DemoSetup& setup, std::uint64_t step, std::vector<DemoDelivery>& deliveries) {
    for (DemoDevice& device : setup.devices) {
        if (device.player) {
            setup.deliver(device, device.player->play(step, setup.isHeard(device)), deliveries);
        }
    }
}

void endAll(DemoSetup& setup, std::vector<DemoDelivery>& deliveries) {
    for (DemoDevice& device : setup.devices) {
        if (device.player) {
            setup.deliver(device, device.player->end(), deliveries);
        }
    }
}

void perform(const std::vector<DemoDelivery>& deliveries) {
    for (const DemoDelivery& delivery : deliveries) {
        delivery.perform();
    }
}

}  // namespace

void performDemo(const std::stop_token& stop, DemoState& state) {
    DemoSetup& setup = state.setup;
    const auto hasWork = [&state] { return !state.endings.empty() || hasDeliverablePackets(state.setup); };
    SteadyClock::time_point begin;
    std::uint64_t step = 0;
    bool isOn = false;
    std::unique_lock lock(state.mutex);
    while (!stop.stop_requested()) {
        if (isOn) {
            state.changed.wait_until(lock, stop, begin + timeOfDemoStep(step), hasWork);
        } else {
            state.changed.wait(lock, stop, [&] { return hasWork() || isHeardAnywhere(setup); });
        }
        if (stop.stop_requested()) {
            break;
        }
        std::vector<DemoDelivery> deliveries = std::exchange(state.endings, {});
        takeWaiting(setup, deliveries);
        const SteadyClock::time_point now = SteadyClock::now();
        if (!isOn && isHeardAnywhere(setup)) {
            isOn = true;
            begin = now + kLeadIn;
            step = 0;
        } else if (isOn && now >= begin + timeOfDemoStep(step)) {
            begin = std::max(begin, now - kWorstDelay - timeOfDemoStep(step));
            playStep(setup, step, deliveries);
            ++step;
            isOn = isPlayingAnywhere(setup) || isHeardAnywhere(setup);
        }
        lock.unlock();
        perform(deliveries);
        // Cleared without the lock: a delivery may hold the last reference to its handler, whose destructor may call
        // the service.
        deliveries.clear();
        lock.lock();
    }
    std::vector<DemoDelivery> deliveries = std::exchange(state.endings, {});
    endAll(setup, deliveries);
    lock.unlock();
    perform(deliveries);
}

}  // namespace corvel::hosts
