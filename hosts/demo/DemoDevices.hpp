#pragma once

#include "core/routes/MIDIRouteSetDocument.hpp"
#include "hosts/demo/DemoPiece.hpp"

#include <array>
#include <cstdint>
#include <optional>

namespace corvel::hosts {

inline constexpr const char* kDemoManufacturer = "Corvel Demo";

/// A device of the demo service.
struct DemoDeviceDescription {
    bool isSource = true;
    const char* name = "";
    /// Documents store it, so it never changes.
    std::int32_t uniqueID = 0;
    /// The piece that a source plays.
    std::optional<DemoPiece> piece;
};

inline constexpr DemoDeviceDescription kDemoKeyboard{true, "Demo Keyboard", 1001, DemoPiece::keyboard};
inline constexpr DemoDeviceDescription kDemoPads{true, "Demo Pads", 1002, DemoPiece::pads};
inline constexpr DemoDeviceDescription kDemoSequencer{true, "Demo Sequencer", 1003, DemoPiece::sequencer};
inline constexpr DemoDeviceDescription kDemoSynth{false, "Demo Synth", 2001, std::nullopt};
inline constexpr DemoDeviceDescription kDemoDrums{false, "Demo Drums", 2002, std::nullopt};
inline constexpr DemoDeviceDescription kDemoRecorder{false, "Demo Recorder", 2003, std::nullopt};

/// All devices in the service's order.
inline constexpr std::array kDemoDevices{kDemoKeyboard, kDemoPads,  kDemoSequencer,
                                         kDemoSynth,    kDemoDrums, kDemoRecorder};

/// The demo's first connections: the keyboard plays the synth, the pads play the drums on channel 10, and the sequencer
/// is recorded.
[[nodiscard]] MIDIRouteSetDocument makeDemoDocument();

}  // namespace corvel::hosts
