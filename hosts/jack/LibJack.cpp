#include "hosts/jack/LibJack.hpp"

#include <jack/jack.h>
#include <jack/metadata.h>
#include <jack/midiport.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <set>
#include <thread>
#include <utility>

namespace corvel::hosts {

namespace {

void ignoreMessage(const char* /*message*/) {}

struct LibraryMemory {
    template <typename Value>
    void operator()(Value* memory) const {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the library frees what it gave as constant
        ::jack_free(const_cast<void*>(static_cast<const void*>(memory)));
    }
};

class LibJackClient final : public JackClient, private JackBuffers {
public:
    LibJackClient(jack_client_t* client, JackEvents events) : client_(client), events_(std::move(events)) {
        // These calls fail only for a client that is already active.
        ::jack_set_process_callback(
            client_,
            [](jack_nframes_t frames, void* self) {
                const auto* const own = static_cast<LibJackClient*>(self);
                // The buffers are this object as well, used on the real-time thread.
                own->events_.process(*static_cast<LibJackClient*>(self), frames);
                return 0;
            },
            this);
        ::jack_set_port_registration_callback(
            client_, [](jack_port_id_t, int, void* self) { static_cast<LibJackClient*>(self)->events_.portsChanged(); },
            this);
        ::jack_set_port_rename_callback(
            client_,
            [](jack_port_id_t, const char* from, const char* to, void* self) {
                static_cast<LibJackClient*>(self)->events_.portRenamed(from, to);
            },
            this);
        ::jack_set_property_change_callback(
            client_,
            [](jack_uuid_t, const char*, jack_property_change_t, void* self) {
                static_cast<LibJackClient*>(self)->events_.portsChanged();
            },
            this);
        ::jack_set_xrun_callback(
            client_,
            [](void* self) {
                static_cast<LibJackClient*>(self)->events_.xrun();
                return 0;
            },
            this);
        ::jack_on_info_shutdown(
            client_,
            [](jack_status_t, const char* reason, void* self) {
                auto* const own = static_cast<LibJackClient*>(self);
                own->hasServerEnded_ = true;
                own->events_.shutdown(reason != nullptr ? reason : "");
            },
            this);
    }
    LibJackClient(const LibJackClient&) = delete;
    LibJackClient& operator=(const LibJackClient&) = delete;
    ~LibJackClient() override {
        // After the end of its server, PipeWire 1.4 uses freed memory if a client with ports is closed.
        if (hasServerEnded_) {
            for (jack_port_t* const port : ports_) {
                ::jack_port_unregister(client_, port);
            }
        }
        ::jack_client_close(client_);
    }

    std::string serverName() override {
        const std::string version = ::jack_get_version_string();
        return version.find("PipeWire") != std::string::npos ? "PipeWire" : "JACK";
    }

    std::vector<JackPort> ports() override {
        std::vector<JackPort> all;
        for (const auto direction : {MIDIEndpointDirection::source, MIDIEndpointDirection::destination}) {
            const unsigned long flag = direction == MIDIEndpointDirection::source ? JackPortIsOutput : JackPortIsInput;
            const std::unique_ptr<const char*, LibraryMemory> names(
                ::jack_get_ports(client_, nullptr, JACK_DEFAULT_MIDI_TYPE, flag));
            for (const char** name = names.get(); name != nullptr && *name != nullptr; ++name) {
                all.push_back(describe(*name, direction));
            }
        }
        return all;
    }

    bool activate() override { return ::jack_activate(client_) == 0; }
    std::uint32_t period() override { return ::jack_get_buffer_size(client_); }

    void* registerPort(const std::string& name, MIDIEndpointDirection otherSide) override {
        const unsigned long flag = otherSide == MIDIEndpointDirection::source ? JackPortIsInput : JackPortIsOutput;
        jack_port_t* const port = ::jack_port_register(client_, name.c_str(), JACK_DEFAULT_MIDI_TYPE, flag, 0);
        if (port != nullptr) {
            ports_.insert(port);
        }
        return port;
    }

    void unregisterPort(void* port) override {
        auto* const own = static_cast<jack_port_t*>(port);
        ports_.erase(own);
        ::jack_port_unregister(client_, own);
    }

    MIDIStatus connect(void* port, MIDIEndpointDirection otherSide, const std::string& otherPort) override {
        const char* const own = ::jack_port_name(static_cast<jack_port_t*>(port));
        const char* const other = otherPort.c_str();
        // JACK logs an error for each connection that exists already.
        if (::jack_port_connected_to(static_cast<jack_port_t*>(port), other) != 0) {
            return kMIDISuccess;
        }
        const int status = otherSide == MIDIEndpointDirection::source ? ::jack_connect(client_, other, own)
                                                                      : ::jack_connect(client_, own, other);
        return status == 0 || status == EEXIST ? kMIDISuccess : -EIO;
    }

private:
    [[nodiscard]] JackPort describe(const char* name, MIDIEndpointDirection direction) {
        JackPort described{.name = name, .direction = direction, .aliases = {}, .prettyName = {}};
        // Null if the port was removed since the listing.
        if (const jack_port_t* const port = ::jack_port_by_name(client_, name); port != nullptr) {
            std::array<std::string, 2> texts;
            std::array<char*, 2> aliases{};
            for (std::size_t index = 0; index < texts.size(); ++index) {
                texts[index].resize(static_cast<std::size_t>(::jack_port_name_size()));
                aliases[index] = texts[index].data();
            }
            ::jack_port_get_aliases(port, aliases.data());
            for (const char* const alias : aliases) {
                if (*alias != '\0') {
                    described.aliases.emplace_back(alias);
                }
            }
            described.prettyName = prettyName(::jack_port_uuid(port));
        }
        return described;
    }

    static std::string prettyName(jack_uuid_t subject) {
        char* value = nullptr;
        char* type = nullptr;
        if (::jack_get_property(subject, JACK_METADATA_PRETTY_NAME, &value, &type) != 0) {
            return {};
        }
        const std::unique_ptr<char, LibraryMemory> valueOwner(value);
        const std::unique_ptr<char, LibraryMemory> typeOwner(type);
        return value != nullptr ? value : "";
    }

    std::uint32_t periodStart() override { return ::jack_last_frame_time(client_); }
    void* buffer(void* port, std::uint32_t frames) override {
        return ::jack_port_get_buffer(static_cast<jack_port_t*>(port), frames);
    }
    std::uint32_t eventCount(void* buffer) override { return ::jack_midi_get_event_count(buffer); }
    bool event(void* buffer, std::uint32_t index, JackEvent& event) override {
        jack_midi_event_t own{};
        if (::jack_midi_event_get(&own, buffer, index) != 0 || own.buffer == nullptr) {
            return false;
        }
        event = {.time = own.time, .bytes = {own.buffer, own.size}};
        return true;
    }
    void clear(void* buffer) override { ::jack_midi_clear_buffer(buffer); }
    std::size_t maxEventSize(void* buffer) override { return ::jack_midi_max_event_size(buffer); }
    std::uint8_t* reserve(void* buffer, std::uint32_t time, std::size_t size) override {
        return ::jack_midi_event_reserve(buffer, time, size);
    }

    jack_client_t* const client_;
    const JackEvents events_;
    std::set<jack_port_t*> ports_;
    std::atomic<bool> hasServerEnded_ = false;
};

class LibJack final : public JackLibrary {
public:
    LibJack() {
        // The library prints many messages about a missing server.
        ::jack_set_error_function(&ignoreMessage);
        ::jack_set_info_function(&ignoreMessage);
    }

    std::unique_ptr<JackClient> open(std::string_view name, JackEvents events) override {
        jack_status_t status{};
        jack_client_t* const client = ::jack_client_open(std::string(name).c_str(), JackNoStartServer, &status);
        return client != nullptr ? std::make_unique<LibJackClient>(client, std::move(events)) : nullptr;
    }
};

}  // namespace

std::shared_ptr<JackLibrary> makeLibJack() {
    return std::make_shared<LibJack>();
}

bool jackServerRuns() {
    constexpr auto kLimit = std::chrono::seconds(2);
    std::promise<bool> answer;
    std::future<bool> result = answer.get_future();
    // On a separate thread, because a server that hangs would block this one for ever.
    std::thread([answer = std::move(answer)]() mutable {
        answer.set_value(makeLibJack()->open("Corvel", {}) != nullptr);
    }).detach();
    return result.wait_for(kLimit) == std::future_status::ready && result.get();
}

}  // namespace corvel::hosts
