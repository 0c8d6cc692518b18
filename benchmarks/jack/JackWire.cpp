#include "benchmarks/jack/JackWire.hpp"

#include <jack/midiport.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <thread>

namespace corvel::benchmarks {

namespace {

using namespace std::chrono_literals;

/// Note-ons by channel, key and velocity, which is never 0.
constexpr std::size_t kKeys = 128;
constexpr std::size_t kVelocities = 127;
constexpr std::size_t kNumbers = 16 * kKeys * kVelocities;

constexpr auto kPatience = 10s;
/// After this time without an arrival, the rest is lost.
constexpr auto kSilence = 1s;

std::array<std::uint8_t, 3> noteOn(std::size_t number) {
    const std::size_t channel = number / (kKeys * kVelocities) % 16;
    return {static_cast<std::uint8_t>(0x90 + channel), static_cast<std::uint8_t>(number % kKeys),
            static_cast<std::uint8_t>(1 + number / kKeys % kVelocities)};
}

/// The number, up to a multiple of `kNumbers`; `kNumbers` for anything else.
std::size_t numberOf(const jack_midi_event_t& event) {
    if (event.size != 3 || event.buffer[0] < 0x90 || event.buffer[0] > 0x9F || event.buffer[2] == 0) {
        return kNumbers;
    }
    return (event.buffer[0] - 0x90U) * kKeys * kVelocities + (event.buffer[2] - 1U) * kKeys + event.buffer[1];
}

}  // namespace

JackWire::Client JackWire::open(const char* name) {
    jack_status_t status{};
    Client client(jack_client_open(name, JackNoStartServer, &status));
    if (client == nullptr) {
        throw std::runtime_error("no JACK server");
    }
    return client;
}

JackWire::JackWire() : player_(open(kPlayer)), listener_(open(kListener)) {
    output_ = jack_port_register(player_.get(), "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
    input_ = jack_port_register(listener_.get(), "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
    const auto onPlayer = [](jack_nframes_t frames, void* self) {
        static_cast<JackWire*>(self)->playPeriod(frames);
        return 0;
    };
    const auto onListener = [](jack_nframes_t frames, void* self) {
        static_cast<JackWire*>(self)->listenPeriod(frames);
        return 0;
    };
    const auto onXrun = [](void* self) {
        ++static_cast<JackWire*>(self)->xruns_;
        return 0;
    };
    if (output_ == nullptr || input_ == nullptr || jack_set_process_callback(player_.get(), onPlayer, this) != 0 ||
        jack_set_process_callback(listener_.get(), onListener, this) != 0 ||
        jack_set_xrun_callback(listener_.get(), onXrun, this) != 0 || jack_activate(player_.get()) != 0 ||
        jack_activate(listener_.get()) != 0) {
        throw std::runtime_error("the JACK server refuses the measuring clients");
    }
}

void JackWire::connectDirectly() {
    if (jack_connect(player_.get(), jack_port_name(output_), jack_port_name(input_)) != 0) {
        throw std::runtime_error("the JACK server does not connect the measuring clients");
    }
}

void JackWire::disconnect() {
    jack_port_disconnect(player_.get(), output_);
}

JackRun JackWire::waitForRouter() {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (true) {
        const JackRun first = play(1, 1);
        if (first.received > 0) {
            return first;
        }
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("nothing arrives");
        }
    }
}

JackRun JackWire::play(std::size_t count, std::size_t perPeriod) {
    frames_.assign(count, 0);
    perPeriod_ = perPeriod;
    minimumDelay_ = std::numeric_limits<std::int64_t>::max();
    maximumDelay_ = std::numeric_limits<std::int64_t>::min();
    sumOfDelays_ = 0;
    next_ = 0;
    repeated_ = 0;
    isClean_ = true;
    received_ = 0;
    sent_ = 0;
    xruns_ = 0;
    wanted_ = count;

    std::size_t known = 0;
    auto last = std::chrono::steady_clock::now();
    while (received_ < count) {
        std::this_thread::sleep_for(5ms);
        const std::size_t progress = sent_ + received_;
        if (progress != known) {
            known = progress;
            last = std::chrono::steady_clock::now();
        } else if (std::chrono::steady_clock::now() - last > kSilence) {
            break;
        }
    }
    // Nothing more is recorded while the result is read.
    wanted_ = 0;
    std::this_thread::sleep_for(50ms);
    const std::size_t received = received_;
    return {.period = period_,
            .sent = sent_,
            .received = received,
            .repeated = repeated_,
            .isClean = isClean_,
            .minimumDelay = minimumDelay_,
            .maximumDelay = maximumDelay_,
            .meanDelay = received == 0 ? 0 : static_cast<double>(sumOfDelays_) / static_cast<double>(received),
            .xruns = xruns_};
}

void JackWire::playPeriod(std::uint32_t frames) {
    period_ = frames;
    void* const buffer = jack_port_get_buffer(output_, frames);
    jack_midi_clear_buffer(buffer);
    const std::size_t wanted = wanted_;
    const jack_nframes_t start = jack_last_frame_time(player_.get());
    std::size_t number = sent_;
    for (std::size_t index = 0; index < perPeriod_ && number < wanted; ++index, ++number) {
        // At different frames of each period, but in order, because a port's buffer accepts nothing else.
        const auto first = static_cast<std::uint32_t>(number / perPeriod_ % 3);
        const auto offset = std::min(frames - 1, first + static_cast<std::uint32_t>(index * frames / perPeriod_));
        const auto message = noteOn(number);
        frames_[number] = start + offset;
        if (jack_midi_event_write(buffer, offset, message.data(), message.size()) != 0) {
            break;
        }
    }
    sent_ = number;
}

void JackWire::listenPeriod(std::uint32_t frames) {
    void* const buffer = jack_port_get_buffer(input_, frames);
    const jack_nframes_t start = jack_last_frame_time(listener_.get());
    const std::size_t wanted = wanted_;
    for (std::uint32_t index = 0; index < jack_midi_get_event_count(buffer); ++index) {
        jack_midi_event_t event{};
        if (jack_midi_event_get(&event, buffer, index) != 0) {
            continue;
        }
        const std::size_t number = numberOf(event);
        const std::size_t ahead = (number + kNumbers - next_ % kNumbers) % kNumbers;
        if (number != kNumbers && ahead > kNumbers / 2) {
            ++repeated_;
            continue;
        }
        // Missing messages are skipped.
        if (number == kNumbers || next_ + ahead >= wanted) {
            isClean_ = isClean_ && wanted == 0;
            continue;
        }
        next_ += ahead;
        const auto delay = static_cast<std::int64_t>(static_cast<std::int32_t>(start + event.time - frames_[next_]));
        minimumDelay_ = std::min(minimumDelay_, delay);
        maximumDelay_ = std::max(maximumDelay_, delay);
        sumOfDelays_ += delay;
        ++next_;
        ++received_;
    }
}

}  // namespace corvel::benchmarks
