#include "hosts/HostSelection.hpp"

#include "hosts/demo/DemoMIDIHost.hpp"

#ifdef __linux__
#include "hosts/alsa/ALSAMIDIHost.hpp"
#endif

namespace corvel::hosts {

namespace {

bool isSystemMIDIAvailable() {
#ifdef __linux__
    return isALSASequencerAvailable();
#else
    return false;
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
    if (isSystemMIDIAvailable()) {
        return {makeSystemHost(engineQueue, mainQueue), false, {}};
    }
    const std::string problem = "the ALSA sequencer cannot be opened (/dev/snd/seq)";
    if (choice == MIDIHostChoice::alsa) {
        return {nullptr, false, problem};
    }
    const std::string notice = problem + "; using the demo devices";
    return {makeDemoMIDIHost(mainQueue, {.notice = notice}), true, notice};
}

}  // namespace corvel::hosts
