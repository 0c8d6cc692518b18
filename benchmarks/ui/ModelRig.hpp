#pragma once

#include "app/MIDIRouterViewModel.hpp"
#include "core/routes/MIDIRouteSetDocument.hpp"
#include "tests/support/FakeMIDIHost.hpp"
#include "tests/support/ManualQueue.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "ui/Look.hpp"

#include <cstdint>
#include <memory>
#include <string>

namespace corvel::benchmarks {

/// A window's model, over an engine and a service with any number of devices. `settle` runs the tasks of the engine's
/// and the main queue.
class ModelRig {
public:
    /// An output's ID is its number plus this.
    static constexpr std::int32_t kFirstDestination = 1000;

    explicit ModelRig(std::shared_ptr<const Clock> clock = makeSystemClock()) : clock_(std::move(clock)) {}

    /// Adds this number of inputs and outputs, numbered from `firstNumber` on.
    void addDevices(std::int32_t firstNumber, std::int32_t count);
    void removeDevices();

    /// Starts the model on the document.
    void start(const MIDIRouteSetDocument& document);
    void settle();

    /// Plays a message through a connection.
    void play(const UUID& routeID, Instant instant, const MIDIBytes& bytes);

    [[nodiscard]] MIDIRouterViewModel& model() { return *model_; }
    [[nodiscard]] const ui::Look& look() const { return look_; }
    [[nodiscard]] const std::shared_ptr<const Clock>& clock() const { return clock_; }

private:
    tests::TemporaryFolder folder_;
    std::shared_ptr<const Clock> clock_;
    std::shared_ptr<tests::FakeMIDIHost> host_ = std::make_shared<tests::FakeMIDIHost>();
    std::shared_ptr<tests::ManualQueue> queue_ = std::make_shared<tests::ManualQueue>();
    std::shared_ptr<tests::ManualQueue> mainQueue_ =
        std::make_shared<tests::ManualQueue>(tests::ManualQueue::Current::onMakerThread);
    std::shared_ptr<CoreMIDIRouterEngine> engine_;
    std::shared_ptr<MIDIRouterViewModel> model_;
    ui::Look look_{AppAppearanceMode::dark};
};

}  // namespace corvel::benchmarks
