#include "hosts/HostSelection.hpp"

#include "hosts/demo/DemoMIDIHost.hpp"

#ifdef __linux__
#include "hosts/alsa/ALSAMIDIHost.hpp"
#endif

#include <optional>
#include <string>

namespace corvel::hosts {

namespace {

/// Why the system's MIDI cannot be used; no value where it can.
std::optional<std::string> systemMIDIProblem() {
#ifdef __linux__
    return alsaSequencerProblem();
#else
    return "this system's MIDI is not supported";
#endif
}

std::shared_ptr<MIDIHost> makeSystemHost(const std::shared_ptr<EventLoop>& engineQueue,
                                         const std::shared_ptr<DispatchQueue>& mainQueue) {
#ifdef __linux__
    return makeALSAMIDIHost(engineQueue, mainQueue);
#else
    return nullptr;
#endif
}

}  // namespace

HostSelection selectHost(MIDIHostChoice choice, const std::shared_ptr<EventLoop>& engineQueue,
                         const std::shared_ptr<DispatchQueue>& mainQueue) {
    if (choice == MIDIHostChoice::demo) {
        return {makeDemoMIDIHost(mainQueue), true, {}};
    }
    const std::optional<std::string> problem = systemMIDIProblem();
    if (!problem) {
        return {makeSystemHost(engineQueue, mainQueue), false, {}};
    }
    if (choice == MIDIHostChoice::alsa) {
        return {nullptr, false, *problem};
    }
    const std::string notice = *problem + "; using the demo devices";
    return {makeDemoMIDIHost(mainQueue, {.notice = notice}), true, notice};
}

}  // namespace corvel::hosts
