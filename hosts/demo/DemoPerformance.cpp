#include "hosts/demo/DemoPerformance.hpp"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

namespace corvel::hosts {

namespace {

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

void perform(const std::vector<DemoDelivery>& deliveries) {
    for (const DemoDelivery& delivery : deliveries) {
        delivery.perform();
    }
}

}  // namespace

std::optional<DemoPerformance::Time> DemoPerformance::nextStep() const {
    return begin_ ? std::optional(*begin_ + timeOfDemoStep(step_)) : std::nullopt;
}

bool DemoPerformance::hasWork() const {
    return begin_ ? hasDeliverablePackets(setup_) : isHeardAnywhere(setup_);
}

void DemoPerformance::play(Time now, std::vector<DemoDelivery>& deliveries) {
    takeWaiting(setup_, deliveries);
    if (!begin_ && isHeardAnywhere(setup_)) {
        begin_ = now + kLeadIn;
        step_ = 0;
    } else if (begin_ && now >= nextStep()) {
        begin_ = std::max(*begin_, now - kWorstDelay - timeOfDemoStep(step_));
        playStep(setup_, step_, deliveries);
        ++step_;
        if (!isPlayingAnywhere(setup_) && !isHeardAnywhere(setup_)) {
            begin_.reset();
        }
    }
}

void DemoPerformance::end(std::vector<DemoDelivery>& deliveries) {
    for (DemoDevice& device : setup_.devices) {
        if (device.player) {
            setup_.deliver(device, device.player->end(), deliveries);
        }
    }
}

void performDemo(const std::stop_token& stop, DemoState& state) {
    DemoPerformance performance(state.setup);
    const auto hasWork = [&performance] { return performance.hasWork(); };
    std::unique_lock lock(state.mutex);
    while (!stop.stop_requested()) {
        if (const auto next = performance.nextStep()) {
            state.changed.wait_until(lock, stop, *next, hasWork);
        } else {
            state.changed.wait(lock, stop, hasWork);
        }
        if (stop.stop_requested()) {
            break;
        }
        std::vector<DemoDelivery> deliveries = std::exchange(state.endings, {});
        performance.play(std::chrono::steady_clock::now(), deliveries);
        lock.unlock();
        perform(deliveries);
        // Cleared without the lock: a delivery may hold the last reference to its handler, whose destructor may call
        // the service.
        deliveries.clear();
        lock.lock();
    }
    std::vector<DemoDelivery> deliveries = std::exchange(state.endings, {});
    performance.end(deliveries);
    lock.unlock();
    perform(deliveries);
}

}  // namespace corvel::hosts
