#include "hosts/demo/DemoPiece.hpp"

#include <array>
#include <cstddef>

namespace corvel::hosts {

namespace {

constexpr std::uint64_t kStepsPerQuarter = 24;
constexpr std::uint64_t kStepsPerEighth = 12;
constexpr std::uint64_t kStepsPerSixteenth = 6;

/// Numbers of controllers and drums, from General MIDI.
constexpr std::uint8_t kModulation = 1;
constexpr std::uint8_t kSustain = 64;
constexpr std::uint8_t kBassDrum = 36;
constexpr std::uint8_t kSnare = 38;
constexpr std::uint8_t kClosedHat = 42;
constexpr std::uint8_t kCrash = 49;

struct Note {
    /// Steps from the start of the cycle, and until the note-off, which is also inside the cycle.
    std::uint64_t start = 0;
    std::uint64_t length = 0;
    std::uint8_t key = 0;
    std::uint8_t velocity = 0;
    /// 1 to 16.
    std::uint8_t channel = 1;

    [[nodiscard]] std::uint64_t end() const { return start + length; }
};

struct Event {
    std::uint64_t step = 0;
    MIDIBytes bytes;
};

/// One cycle of a piece.
struct Score {
    std::vector<Note> notes;
    std::vector<Event> events;
    /// Resets what the events have changed.
    std::vector<MIDIBytes> rest;
    bool hasClock = false;
};

std::uint8_t status(unsigned kind, unsigned channel) {
    return static_cast<std::uint8_t>(kind | (channel - 1));
}

MIDIBytes noteOn(const Note& note) {
    return {status(0x90, note.channel), note.key, note.velocity};
}
MIDIBytes noteOff(const Note& note) {
    return {status(0x80, note.channel), note.key, 64};
}

MIDIBytes control(std::uint8_t channel, std::uint8_t number, std::uint8_t value) {
    return {status(0xB0, channel), number, value};
}

/// 0x40 is the middle.
MIDIBytes pitchBend(std::uint8_t channel, std::uint8_t coarse) {
    return {status(0xE0, channel), 0, coarse};
}

MIDIBytes program(std::uint8_t channel, std::uint8_t number) {
    return {status(0xC0, channel), number};
}

Score keyboardScore() {
    Score score;
    score.notes = {
        {0, 22, 76, 92},   {24, 10, 74, 80},   {36, 10, 72, 84},  {48, 40, 69, 90},
        {96, 22, 72, 88},  {120, 10, 74, 80},  {132, 10, 76, 84}, {144, 20, 77, 94},
        {168, 20, 76, 86}, {192, 34, 79, 100}, {228, 10, 76, 82}, {240, 22, 72, 88},
        {264, 20, 74, 84}, {288, 34, 74, 92},  {324, 10, 71, 80}, {336, 44, 67, 88},
    };
    score.events = {
        {192, control(1, kSustain, 127)}, {192, pitchBend(1, 0x30)},      {195, pitchBend(1, 0x38)},
        {198, pitchBend(1, 0x40)},        {286, control(1, kSustain, 0)},
    };
    constexpr std::array<std::uint8_t, 6> kSwell{16, 40, 64, 56, 32, 0};
    for (std::uint64_t index = 0; index < kSwell.size(); ++index) {
        score.events.push_back({348 + index * kStepsPerSixteenth, control(1, kModulation, kSwell.at(index))});
    }
    score.rest = {control(1, kSustain, 0), control(1, kModulation, 0), pitchBend(1, 0x40)};
    return score;
}

Score padsScore() {
    constexpr std::uint8_t kDrumChannel = 10;
    constexpr std::uint64_t kHitLength = 5;
    Score score;
    const auto hit = [&score](std::uint64_t step, std::uint8_t key, std::uint8_t velocity) {
        score.notes.push_back({step, kHitLength, key, velocity, kDrumChannel});
    };
    hit(0, kCrash, 96);
    for (std::uint64_t bar = 0; bar < kDemoStepsPerCycle; bar += kDemoStepsPerBar) {
        const bool isLast = bar + kDemoStepsPerBar == kDemoStepsPerCycle;
        for (std::uint64_t eighth = 0; eighth < kDemoStepsPerBar; eighth += kStepsPerEighth) {
            hit(bar + eighth, kClosedHat, eighth % kStepsPerQuarter == 0 ? 84 : 60);
        }
        hit(bar, kBassDrum, 112);
        hit(bar + 2 * kStepsPerQuarter, kBassDrum, 104);
        hit(bar + 5 * kStepsPerEighth, kBassDrum, 88);
        hit(bar + kStepsPerQuarter, kSnare, 104);
        if (!isLast) {
            hit(bar + 3 * kStepsPerQuarter, kSnare, 108);
            continue;
        }
        constexpr std::array<std::uint8_t, 4> kToms{50, 47, 45, 43};
        for (std::uint64_t index = 0; index < kToms.size(); ++index) {
            hit(bar + 3 * kStepsPerQuarter + index * kStepsPerSixteenth, kToms.at(index), 100);
        }
    }
    return score;
}

Score sequencerScore() {
    constexpr std::uint8_t kBassChannel = 2;
    constexpr std::uint8_t kChordChannel = 3;
    constexpr std::uint8_t kArpeggioChannel = 4;
    struct Harmony {
        std::uint8_t root;
        std::array<std::uint8_t, 3> chord;
    };
    constexpr std::array<Harmony, 4> kHarmonies{
        {{45, {57, 60, 64}}, {41, {57, 60, 65}}, {36, {55, 60, 64}}, {43, {55, 59, 62}}}};
    constexpr std::array<std::uint8_t, 4> kArpeggio{0, 1, 2, 1};

    Score score;
    score.hasClock = true;
    // Fingered bass, warm pad, vibraphone.
    score.events = {
        {0, program(kBassChannel, 33)}, {0, program(kChordChannel, 89)}, {0, program(kArpeggioChannel, 11)}};
    std::uint64_t bar = 0;
    for (const Harmony& harmony : kHarmonies) {
        const auto octaveAbove = static_cast<std::uint8_t>(harmony.root + 12);
        score.notes.push_back({bar, 20, harmony.root, 100, kBassChannel});
        score.notes.push_back({bar + 36, 10, harmony.root, 84, kBassChannel});
        score.notes.push_back({bar + 48, 20, harmony.root, 96, kBassChannel});
        score.notes.push_back({bar + 84, 10, octaveAbove, 88, kBassChannel});
        for (const std::uint8_t key : harmony.chord) {
            score.notes.push_back({bar, 92, key, 64, kChordChannel});
        }
        for (std::uint64_t step = 0; step < kDemoStepsPerBar; step += kStepsPerSixteenth) {
            const std::uint8_t tone = harmony.chord.at(kArpeggio.at(step / kStepsPerSixteenth % kArpeggio.size()));
            score.notes.push_back({bar + step, 5, static_cast<std::uint8_t>(tone + 12), 72, kArpeggioChannel});
        }
        bar += kDemoStepsPerBar;
    }
    return score;
}

const Score& scoreOf(DemoPiece piece) {
    // Never destroyed: if a service could not wait for its playing thread, the thread may still run when the process
    // ends.
    static const auto& scores = *new std::array<Score, 3>{keyboardScore(), padsScore(), sequencerScore()};
    return scores.at(static_cast<std::size_t>(piece));
}

constexpr std::uint8_t kTimingClock = 0xF8;
constexpr std::uint8_t kStart = 0xFA;
constexpr std::uint8_t kStop = 0xFC;

}  // namespace

std::chrono::nanoseconds timeOfDemoStep(std::uint64_t step) {
    constexpr std::uint64_t kNanosecondsPerQuarter = 500'000'000;
    const std::uint64_t quarters = step / kStepsPerQuarter;
    const std::uint64_t rest = step % kStepsPerQuarter;
    return std::chrono::nanoseconds(quarters * kNanosecondsPerQuarter +
                                    rest * kNanosecondsPerQuarter / kStepsPerQuarter);
}

std::vector<MIDIBytes> packetsAtDemoStep(DemoPiece piece, std::uint64_t step) {
    const Score& score = scoreOf(piece);
    const std::uint64_t place = step % kDemoStepsPerCycle;
    std::vector<MIDIBytes> packets;
    if (score.hasClock) {
        if (step == 0) {
            packets.push_back({kStart});
        }
        packets.push_back({kTimingClock});
    }
    for (const Note& note : score.notes) {
        if (note.end() == place) {
            packets.push_back(noteOff(note));
        }
    }
    for (const Event& event : score.events) {
        if (event.step == place) {
            packets.push_back(event.bytes);
        }
    }
    for (const Note& note : score.notes) {
        if (note.start == place) {
            packets.push_back(noteOn(note));
        }
    }
    return packets;
}

std::vector<MIDIBytes> packetsAtDemoEnd(DemoPiece piece, std::uint64_t step) {
    if (step == 0) {
        return {};
    }
    const Score& score = scoreOf(piece);
    const std::uint64_t last = (step - 1) % kDemoStepsPerCycle;
    std::vector<MIDIBytes> packets;
    for (const Note& note : score.notes) {
        if (note.start <= last && last < note.end()) {
            packets.push_back(noteOff(note));
        }
    }
    packets.insert(packets.end(), score.rest.begin(), score.rest.end());
    if (score.hasClock) {
        packets.push_back({kStop});
    }
    return packets;
}

}  // namespace corvel::hosts
