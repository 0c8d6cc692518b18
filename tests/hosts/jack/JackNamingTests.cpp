#include "hosts/jack/JackNaming.hpp"

#include "hosts/jack/ALSAMirror.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvel::hosts {
namespace {

JackPort port(std::string name, std::vector<std::string> aliases = {}) {
    return {.name = std::move(name),
            .direction = MIDIEndpointDirection::source,
            .aliases = std::move(aliases),
            .prettyName = {}};
}

TEST(JackNaming, SplitsANameAtTheFirstColon) {
    EXPECT_EQ(port("seq:out").client(), "seq");
    EXPECT_EQ(port("seq:out").port(), "out");
    EXPECT_EQ(port("Bridge:Piano:(capture_0) 1").port(), "Piano:(capture_0) 1");
    EXPECT_EQ(port("odd").client(), "odd");
    EXPECT_EQ(port("odd").port(), "");
}

TEST(JackNaming, TakesTheNumberThatJACKPutsBehindASecondClient) {
    EXPECT_EQ(baseClientName(port("seq-01:out")), "seq");
    EXPECT_EQ(baseClientName(port("seq-09:out")), "seq");
    EXPECT_EQ(baseClientName(port("a-01:out")), "a");
}

TEST(JackNaming, TakesTheNumberThatPipeWirePutsBehindASecondClientWhereTheAliasLacksIt) {
    EXPECT_EQ(baseClientName(port("seq-34:out", {"seq:out"})), "seq");
    EXPECT_EQ(baseClientName(port("seq-34:out", {"seq-34:out"})), "seq-34");
}

TEST(JackNaming, LeavesNumbersThatBelongToAName) {
    for (const char* const client :
         {"Juno-60", "Juno-106", "OB-6", "DX7", "x-00", "-01", "a-1", "K-2000", "MT-32", "X-050", "808", "K-"}) {
        EXPECT_EQ(baseClientName(port(std::string(client) + ":out")), client);
    }
}

TEST(JackNaming, KnowsCorvelsOwnPortsOfEveryInstance) {
    EXPECT_TRUE(isCorvels(port("Corvel:seq out")));
    EXPECT_TRUE(isCorvels(port("Corvel-01:seq out")));
    EXPECT_TRUE(isCorvels(port("Corvel-57:seq out")));
    EXPECT_TRUE(isCorvels(port("Corvel-5:seq out")));
    EXPECT_FALSE(isCorvels(port("Corvel-:out")));
    EXPECT_FALSE(isCorvels(port("CorvelX5:out")));
    EXPECT_FALSE(isCorvels(port("Corvelle:out")));
    EXPECT_FALSE(isCorvels(port("seq:Corvel")));
}

TEST(JackNaming, HashesDirectionClientAndPort) {
    // The 32-bit FNV-1a hash of "source\njack\nseq\n0\nout", computed by another program.
    EXPECT_EQ(uniqueJackID(MIDIEndpointDirection::source, "seq", "out"), 1712971016);
    EXPECT_EQ(uniqueJackID(MIDIEndpointDirection::destination, "seq", "out"), 1870403145);
}

TEST(JackNaming, ShowsThePrettyNameElseTheClientElseBoth) {
    JackPort synth = port("zyn:midi_in");
    EXPECT_EQ(displayNameOf(synth, true), "zyn");
    EXPECT_EQ(displayNameOf(synth, false), "zyn midi_in");
    synth.prettyName = "Big Synth";
    EXPECT_EQ(displayNameOf(synth, true), "Big Synth");
    EXPECT_EQ(displayNameOf(synth, false), "Big Synth");
}

TEST(JackNaming, RepairsBytesThatAreNoText) {
    EXPECT_EQ(displayNameOf(port("a\xff:b\xc3"), false), "a\xef\xbf\xbd b\xef\xbf\xbd");
    EXPECT_EQ(baseClientName(port("a\xff:b")), "a\xef\xbf\xbd");
    EXPECT_EQ(ownPortName("a\xff:b", {}), "a\xef\xbf\xbd b");
}

TEST(JackNaming, NamesItsOwnPortAfterTheOtherSideAndTellsItApart) {
    EXPECT_EQ(ownPortName("seq:out", {}), "seq out");
    EXPECT_EQ(ownPortName("a:b:c", {}), "a b c");
    EXPECT_EQ(ownPortName("seq:out", {"seq out"}), "seq out 2");
    EXPECT_EQ(ownPortName("seq:out", {"seq out", "seq out 2"}), "seq out 3");
}

TEST(JackNaming, ShortensItsOwnPortsNameAtAWholeCharacter) {
    EXPECT_EQ(ownPortName(std::string(300, 'x'), {}), std::string(120, 'x'));
    std::string umlauts;
    for (int count = 0; count < 100; ++count) {
        umlauts += "\xc3\xa4";
    }
    EXPECT_EQ(ownPortName("x" + umlauts, {}), "x" + umlauts.substr(0, 118));
    EXPECT_EQ(ownPortName(std::string(119, 'x') + "\xc3\xa5", {}), std::string(119, 'x'));
}

TEST(ALSAMirror, IsAPortOfABridgeFromTheSequencer) {
    EXPECT_TRUE(mirrorsALSA(port("Midi-Bridge:Midi Through:(capture_0) Midi Through Port-0",
                                 {"alsa:seq:default:client_14:capture_0", "Midi Through:Midi Through Port-0"})));
    EXPECT_TRUE(mirrorsALSA(port("Internal-MIDI-Bridge:x", {"alsa:seq:default:client_14:capture_0"})));
    EXPECT_TRUE(mirrorsALSA(port("Midi-Bridge:x")));
    EXPECT_TRUE(mirrorsALSA(port("a2j:Keystation [20] (capture): Keystation MIDI 1")));
    EXPECT_TRUE(mirrorsALSA(port("a2j-01:Keystation [20] (capture): Keystation MIDI 1")));
}

TEST(ALSAMirror, IsAPortOfTheServersOwnALSADriver) {
    EXPECT_TRUE(mirrorsALSA(port("system_midi:capture_1", {"system:1-1 Virtual Raw MIDI 14 in"})));
    EXPECT_TRUE(mirrorsALSA(port("system:midi_capture_2", {"alsa_pcm:Axiom-25/midi_capture_1"})));
}

TEST(ALSAMirror, IsNoPortOfAProgramOrOfAnotherDriver) {
    EXPECT_FALSE(mirrorsALSA(port("zyn:midi_in")));
    EXPECT_FALSE(mirrorsALSA(port("system:midi_capture_1", {"firewire_pcm:000aac0300592827_MIDI"})));
    EXPECT_FALSE(mirrorsALSA(port("system:midi_capture_1")));
    EXPECT_FALSE(mirrorsALSA(port("alsa synth:in", {"alsa synth:in"})));
    EXPECT_FALSE(mirrorsALSA(port("alsa synth:midi_in", {"alsa synth:midi_in"})));
}

}  // namespace
}  // namespace corvel::hosts
