#include "tests/support/SequencerFlood.hpp"

#include <chrono>

namespace corvel::tests {

namespace {

/// Number of notes that one system call sends.
constexpr int kTogether = 200;
constexpr int kPerSecond = 24'000;
constexpr std::chrono::nanoseconds kPause = std::chrono::seconds(1) * kTogether / kPerSecond;

}  // namespace

SequencerFlood::SequencerFlood(const std::string& name)
    : peer_(name), port_(peer_.addPort("Out", SequencerPeer::kSource)) {
    snd_seq_set_output_buffer_size(peer_.handle(), kTogether * sizeof(snd_seq_event_t));
}

SequencerFlood::~SequencerFlood() {
    end();
}

void SequencerFlood::begin() {
    isToEnd_ = false;
    thread_ = std::thread([this] { play(); });
}

void SequencerFlood::end() {
    isToEnd_ = true;
    if (thread_.joinable()) {
        thread_.join();
    }
}

void SequencerFlood::play() {
    snd_seq_t* handle = peer_.handle();
    snd_seq_event_t note = noteEvent(SND_SEQ_EVENT_NOTEON, 0, 60, 100);
    note.queue = SND_SEQ_QUEUE_DIRECT;
    note.source.port = port_.raw().port;
    note.dest = {SND_SEQ_ADDRESS_SUBSCRIBERS, SND_SEQ_ADDRESS_UNKNOWN};
    while (!isToEnd_) {
        const auto next = std::chrono::steady_clock::now() + kPause;
        while (snd_seq_event_output_buffer(handle, &note) >= 0) {
        }
        // Notes for a full receiver are lost, as a flood requires.
        if (snd_seq_drain_output(handle) < 0) {
            snd_seq_drop_output_buffer(handle);
        }
        // This is the pace of the simulated program, not a wait.
        std::this_thread::sleep_until(next);
    }
}

}  // namespace corvel::tests
