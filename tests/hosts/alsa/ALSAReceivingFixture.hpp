#pragma once

#include "tests/hosts/alsa/HostUnderTest.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace corvel::tests {

/// A host that is connected to a program's only source.
class ALSAReceiving : public testing::Test {
protected:
    ALSAReceiving() : peer_("Player"), port_(peer_.addPort("Out", SequencerPeer::kSource)) {
        corvel_.start();
        source_ = corvel_.source("Player Out").ref;
        EXPECT_EQ(corvel_.connect(source_), 0);
    }

    /// The packets for these events.
    std::vector<Bytes> packetsOf(const std::vector<snd_seq_event_t>& events) {
        for (const snd_seq_event_t& event : events) {
            EXPECT_GE(peer_.emit(port_, event), 0);
        }
        EXPECT_TRUE(corvel_.waitUntil([&] { return corvel_.deliveries().size() >= events.size(); }));
        std::vector<Bytes> packets;
        for (const DeliveredPacket& packet : corvel_.deliveries()) {
            EXPECT_EQ(packet.connection, source_);
            packets.push_back(packet.bytes);
        }
        return packets;
    }

    /// The bytes of numbered notes from 0 on.
    static Bytes numberedNotes(unsigned count) {
        Bytes all;
        for (unsigned number = 0; number < count; ++number) {
            const Bytes note = SequencerPeer::numberedNote(number);
            all.insert(all.end(), note.begin(), note.end());
        }
        return all;
    }

    HostUnderTest corvel_;
    SequencerPeer peer_;
    SequencerAddress port_;
    MIDIObjectRef source_ = 0;
};

}  // namespace corvel::tests
