#pragma once

#include "core/engine/CoreMIDIRouterEngine.hpp"
#include "tests/support/CountingDelegate.hpp"
#include "tests/support/FakeMIDIHost.hpp"
#include "tests/support/ManualQueue.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace corvel::benchmarks {

/// The connections of a measurement.
struct RoutingLayout {
    /// Connections from the playing source, each with a forced channel and its own destination.
    std::size_t matching = 1;
    /// Additional connections, from other sources.
    std::size_t others = 0;
};

/// Unique ID and reference of the playing source; its destinations follow `kFirstDestination`.
inline constexpr std::int32_t kSource = 1;
inline constexpr std::int32_t kFirstDestination = 100'000;

/// The connections; the matching ones are in the middle of the list.
[[nodiscard]] std::vector<MIDIRoute> makeRoutes(const RoutingLayout& layout);

/// Adds the endpoints of these connections to a host that stores nothing of what is sent.
void addEndpoints(tests::FakeMIDIHost& host, const RoutingLayout& layout);

/// A started engine over a fake host, on a given queue and with a main queue driven by hand.
class EngineRig {
public:
    /// The engine has started after the caller has run `queue`.
    EngineRig(const RoutingLayout& layout, std::shared_ptr<DispatchQueue> queue, bool releasesHeldNotes = false);

    /// Delivers one packet from the playing source.
    void receive(std::span<const std::uint8_t> packet) {
        const MIDIArrival arrivals[] = {{static_cast<MIDIObjectRef>(kSource), MIDIBytes(packet)}};
        host_->receive(arrivals);
    }

    /// Makes the main thread take the reports.
    void takeReports() { mainQueue_->runAll(); }

    [[nodiscard]] std::size_t sent() const { return host_->sentCount; }
    [[nodiscard]] const tests::CountingDelegate& delegate() const { return *delegate_; }

private:
    std::shared_ptr<tests::FakeMIDIHost> host_ = std::make_shared<tests::FakeMIDIHost>();
    std::shared_ptr<tests::ManualQueue> mainQueue_ =
        std::make_shared<tests::ManualQueue>(tests::ManualQueue::Current::onMakerThread);
    std::shared_ptr<tests::CountingDelegate> delegate_ = std::make_shared<tests::CountingDelegate>();
    std::shared_ptr<CoreMIDIRouterEngine> engine_;
};

}  // namespace corvel::benchmarks
