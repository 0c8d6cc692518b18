#include "tests/support/JackPeer.hpp"

#include <jack/midiport.h>

#include <stdexcept>

namespace corvel::tests {

JackPeer::JackPeer(const std::string& name, std::size_t capacity, const JackPeer* player)
    : player_(player != nullptr ? *player : *this), arrivals_(capacity) {
    ::jack_set_error_function([](const char*) {});
    ::jack_set_info_function([](const char*) {});
    client_ = ::jack_client_open(name.c_str(), JackNoStartServer, nullptr);
    if (client_ == nullptr) {
        throw std::runtime_error("no JACK server runs");
    }
    ::jack_set_process_callback(
        client_,
        [](jack_nframes_t frames, void* self) {
            static_cast<JackPeer*>(self)->process(frames);
            return 0;
        },
        this);
    ::jack_set_xrun_callback(
        client_,
        [](void* self) {
            ++static_cast<JackPeer*>(self)->xruns_;
            return 0;
        },
        this);
    ::jack_on_shutdown(
        client_, [](void* self) { static_cast<JackPeer*>(self)->isShutDown_ = true; }, this);
    output_ = ::jack_port_register(client_, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
    input_ = ::jack_port_register(client_, "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
    if (output_ == nullptr || input_ == nullptr || ::jack_activate(client_) != 0) {
        ::jack_client_close(client_);
        throw std::runtime_error("the JACK server refuses a client");
    }
}

JackPeer::~JackPeer() {
    ::jack_client_close(client_);
}

std::uint32_t JackPeer::period() const {
    return ::jack_get_buffer_size(client_);
}

void JackPeer::play(std::uint32_t count, std::uint32_t perPeriod) {
    perPeriod_ = perPeriod;
    wanted_ += count;
}

void JackPeer::connectDirectly() {
    ::jack_connect(client_, ::jack_port_name(player_.output_), ::jack_port_name(input_));
}

std::size_t JackPeer::addExtraPorts(std::size_t first, std::size_t count) {
    std::size_t taken = 0;
    for (std::size_t number = first; number < first + count; ++number) {
        const std::string name = "extra" + std::to_string(number);
        jack_port_t* const port =
            ::jack_port_register(client_, name.c_str(), JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        if (port != nullptr) {
            extraPorts_.push_back(port);
            ++taken;
        }
    }
    return taken;
}

void JackPeer::removeExtraPorts() {
    for (jack_port_t* const port : extraPorts_) {
        ::jack_port_unregister(client_, port);
    }
    extraPorts_.clear();
}

void JackPeer::renameOutput(const std::string& name) {
    ::jack_port_rename(client_, output_, name.c_str());
}

void JackPeer::process(jack_nframes_t frames) {
    const jack_nframes_t start = ::jack_last_frame_time(client_);
    void* const output = ::jack_port_get_buffer(output_, frames);
    ::jack_midi_clear_buffer(output);
    const std::uint32_t perPeriod = perPeriod_;
    std::uint32_t number = played_.load(std::memory_order_relaxed);
    for (std::uint32_t index = 0; index < perPeriod && number < wanted_; ++index, ++number) {
        const jack_nframes_t time = index * frames / perPeriod;
        const std::array<jack_midi_data_t, 3> message{0xE0, static_cast<jack_midi_data_t>(number % 128),
                                                      static_cast<jack_midi_data_t>(number / 128 % 128)};
        playedAt_[number % kNumbers] = start + time;
        ::jack_midi_event_write(output, time, message.data(), message.size());
    }
    played_.store(number, std::memory_order_release);
    void* const input = ::jack_port_get_buffer(input_, frames);
    std::size_t arrived = arrived_.load(std::memory_order_relaxed);
    const std::uint32_t count = ::jack_midi_get_event_count(input);
    for (std::uint32_t index = 0; index < count && arrived < arrivals_.size(); ++index) {
        jack_midi_event_t event{};
        if (::jack_midi_event_get(&event, input, index) == 0 && event.size == 3) {
            const auto value = static_cast<std::uint32_t>(event.buffer[1] | event.buffer[2] << 7);
            arrivals_[arrived++] = {
                .number = value, .status = event.buffer[0], .delay = start + event.time - player_.playedAt_[value]};
        }
    }
    arrived_.store(arrived, std::memory_order_release);
}

}  // namespace corvel::tests
