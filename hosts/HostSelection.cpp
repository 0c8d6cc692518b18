#include "hosts/HostSelection.hpp"

#include "hosts/alsa/ALSAMIDIHost.hpp"
#include "hosts/alsa/SequencerClient.hpp"
#include "hosts/demo/DemoMIDIHost.hpp"

#include <cerrno>
#include <system_error>

namespace corvel::hosts {

HostSelection selectHost(MIDIHostChoice choice, const std::shared_ptr<EventLoop>& engineQueue,
                         const std::shared_ptr<DispatchQueue>& mainQueue) {
    if (choice == MIDIHostChoice::demo) {
        return {makeDemoMIDIHost(mainQueue), true, {}};
    }
    int status = 0;
    if (SequencerClient::open("Corvel", status)) {
        return {makeALSAMIDIHost(engineQueue, mainQueue), false, {}};
    }
    const std::string problem =
        "the ALSA sequencer cannot be opened (/dev/snd/seq: " + std::system_category().message(-status) + ")";
    if (choice == MIDIHostChoice::automatic && meansNoSequencer(status)) {
        return {makeDemoMIDIHost(mainQueue, {.notice = problem + "; using the demo devices"}), true, problem};
    }
    return {makeALSAMIDIHost(engineQueue, mainQueue), false, problem};
}

bool meansNoSequencer(int status) {
    return status == -ENOENT || status == -ENODEV || status == -ENXIO;
}

}  // namespace corvel::hosts
