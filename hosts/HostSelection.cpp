#include "hosts/HostSelection.hpp"

#include "hosts/CompositeMIDIHost.hpp"
#include "hosts/alsa/ALSAMIDIHost.hpp"
#include "hosts/alsa/SequencerClient.hpp"
#include "hosts/demo/DemoMIDIHost.hpp"
#include "hosts/jack/JackMIDIHost.hpp"
#include "hosts/jack/LibJack.hpp"

#include <cerrno>
#include <system_error>

namespace corvel::hosts {

HostSelection selectHost(MIDIHostChoice choice, const std::shared_ptr<EventLoop>& engineQueue,
                         const std::shared_ptr<DispatchQueue>& mainQueue, const RealtimeBroker& realtimeBroker) {
    if (choice.names(MIDIServiceKind::demo)) {
        return {.host = makeDemoMIDIHost(mainQueue), .isDemo = true, .hasService = true, .problem = {}};
    }
    const MIDIHostChoice wanted = choice.withoutStandIn();
    const bool wantsALSA = wanted.names(MIDIServiceKind::alsa);
    const bool wantsJack = wanted.names(MIDIServiceKind::jack);
    int status = 0;
    const bool hasALSA = wantsALSA && SequencerClient::open("Corvel", status) != nullptr;
    // Checked only if needed, because a server may hang.
    const bool hasJack = wantsJack && !hasALSA && jackServerRuns();
    std::string problem;
    if (wantsALSA && !hasALSA) {
        problem = "the ALSA sequencer cannot be opened (/dev/snd/seq: " + std::system_category().message(-status) + ")";
    }
    if (choice.isAutomatic() && !hasALSA && !hasJack && meansNoSequencer(status)) {
        return {.host = makeDemoMIDIHost(mainQueue, {.notice = problem + "; using the demo devices"}),
                .isDemo = true,
                .hasService = true,
                .problem = problem};
    }
    const auto alsa = [&] { return makeALSAMIDIHost(engineQueue, mainQueue, realtimeBroker); };
    // If there is a sequencer, its host asks for the thread's priority.
    const auto jack = [&] {
        const auto priority = hasALSA ? nullptr : std::make_shared<RealtimePriority>(engineQueue, realtimeBroker);
        return makeJackMIDIHost(engineQueue, mainQueue, makeLibJack(), hasALSA, priority);
    };
    if (!wantsJack || (choice.isAutomatic() && !hasALSA && !hasJack)) {
        return {.host = alsa(), .isDemo = false, .hasService = hasALSA, .problem = problem};
    }
    if (!wantsALSA) {
        problem = hasJack ? "" : "no JACK or PipeWire server runs";
        return {.host = jack(), .isDemo = false, .hasService = true, .problem = problem};
    }
    if (choice.isAutomatic() && !hasALSA && meansNoSequencer(status)) {
        return {.host = jack(), .isDemo = false, .hasService = true, .problem = {}};
    }
    return {.host = makeCompositeMIDIHost({alsa(), jack()}),
            .isDemo = false,
            .hasService = hasALSA || hasJack,
            .problem = problem};
}

bool meansNoSequencer(int status) {
    return status == -ENOENT || status == -ENODEV || status == -ENXIO;
}

}  // namespace corvel::hosts
