#include "hosts/demo/DemoDevices.hpp"

namespace corvel::hosts {

namespace {

MIDIRoute connection(const DemoDeviceDescription& source, const DemoDeviceDescription& destination,
                     ChannelMode channelMode) {
    return {UUID::random(),
            source.uniqueID,
            destination.uniqueID,
            source.name,
            kDemoManufacturer,
            destination.name,
            kDemoManufacturer,
            channelMode,
            true,
            std::nullopt,
            {}};
}

}  // namespace

MIDIRouteSetDocument makeDemoDocument() {
    constexpr int kDrumChannel = 10;
    return MIDIRouteSetDocument::singleSet({connection(kDemoKeyboard, kDemoSynth, ChannelMode::asIs()),
                                            connection(kDemoPads, kDemoDrums, ChannelMode::force(kDrumChannel)),
                                            connection(kDemoSequencer, kDemoRecorder, ChannelMode::asIs())},
                                           "Demo");
}

}  // namespace corvel::hosts
