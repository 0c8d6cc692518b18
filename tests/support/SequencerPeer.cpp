#include "tests/support/SequencerPeer.hpp"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace corvel::tests {

namespace {

constexpr std::size_t kSysExPiece = 256;

int orThrow(int status, const char* operation) {
    if (status < 0) {
        throw std::system_error(-status, std::generic_category(), operation);
    }
    return status;
}

/// One of alsa-lib's opaque records, which only the library can create.
template <typename Record, int (*Make)(Record**), void (*Free)(Record*)>
class Owned {
public:
    Owned() { orThrow(Make(&record_), "allocate"); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() { Free(record_); }
    [[nodiscard]] Record* get() const { return record_; }

private:
    Record* record_ = nullptr;
};

using ClientInfo = Owned<snd_seq_client_info_t, snd_seq_client_info_malloc, snd_seq_client_info_free>;
using PortInfo = Owned<snd_seq_port_info_t, snd_seq_port_info_malloc, snd_seq_port_info_free>;
using Pool = Owned<snd_seq_client_pool_t, snd_seq_client_pool_malloc, snd_seq_client_pool_free>;
using Subscription = Owned<snd_seq_port_subscribe_t, snd_seq_port_subscribe_malloc, snd_seq_port_subscribe_free>;
using Query = Owned<snd_seq_query_subscribe_t, snd_seq_query_subscribe_malloc, snd_seq_query_subscribe_free>;

/// Length of the message at the start of the bytes, by its status byte.
std::size_t messageLength(std::span<const std::uint8_t> bytes) {
    const std::uint8_t status = bytes.front();
    std::size_t length = 1;
    if (status == 0xF0) {
        const auto end = std::find(bytes.begin(), bytes.end(), 0xF7);
        length = static_cast<std::size_t>(end - bytes.begin()) + 1;
    } else if (status == 0xF2 || (status >= 0x80 && status < 0xC0) || (status >= 0xE0 && status < 0xF0)) {
        length = 3;
    } else if (status == 0xF1 || status == 0xF3 || (status >= 0xC0 && status < 0xE0)) {
        length = 2;
    }
    return std::min(length, bytes.size());
}

}  // namespace

SequencerPeer::SequencerPeer(const std::string& name) {
    snd_seq_t* handle = nullptr;
    orThrow(snd_seq_open(&handle, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK), "open the sequencer");
    handle_.reset(handle);
    orThrow(snd_seq_set_client_name(handle, name.c_str()), "name the client");
    snd_midi_event_t* coder = nullptr;
    orThrow(snd_midi_event_new(kSysExPiece, &coder), "make a coder");
    coder_.reset(coder);
    snd_midi_event_no_status(coder, 1);
}

int SequencerPeer::client() const {
    return snd_seq_client_id(handle_.get());
}

SequencerAddress SequencerPeer::addPort(const std::string& name, unsigned capability, unsigned type) {
    return {client(),
            orThrow(snd_seq_create_simple_port(handle_.get(), name.c_str(), capability, type), "create a port")};
}

void SequencerPeer::removePort(SequencerAddress port) {
    orThrow(snd_seq_delete_simple_port(handle_.get(), port.port), "delete a port");
}

void SequencerPeer::renamePort(SequencerAddress port, const std::string& name) {
    const PortInfo info;
    orThrow(snd_seq_get_port_info(handle_.get(), port.port, info.get()), "read a port");
    snd_seq_port_info_set_name(info.get(), name.c_str());
    orThrow(snd_seq_set_port_info(handle_.get(), port.port, info.get()), "rename a port");
}

void SequencerPeer::setCapability(SequencerAddress port, unsigned capability) {
    const PortInfo info;
    orThrow(snd_seq_get_port_info(handle_.get(), port.port, info.get()), "read a port");
    snd_seq_port_info_set_capability(info.get(), capability);
    orThrow(snd_seq_set_port_info(handle_.get(), port.port, info.get()), "change a port");
}

void SequencerPeer::rename(const std::string& name) {
    orThrow(snd_seq_set_client_name(handle_.get(), name.c_str()), "rename the client");
}

void SequencerPeer::setInputPool(std::size_t cells) {
    const Pool pool;
    orThrow(snd_seq_get_client_pool(handle_.get(), pool.get()), "read the pool");
    snd_seq_client_pool_set_input_pool(pool.get(), cells);
    orThrow(snd_seq_set_client_pool(handle_.get(), pool.get()), "set the pool");
}

void SequencerPeer::play(SequencerAddress port, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const std::size_t length = messageLength(bytes);
        playOne(port, bytes.first(length));
        bytes = bytes.subspan(length);
    }
}

void SequencerPeer::play(SequencerAddress port, std::initializer_list<std::uint8_t> bytes) {
    play(port, std::span(bytes.begin(), bytes.size()));
}

void SequencerPeer::playOne(SequencerAddress port, std::span<const std::uint8_t> message) {
    if (message.front() == 0xF0) {
        for (; !message.empty(); message = message.subspan(std::min(kSysExPiece, message.size()))) {
            orThrow(emit(port, rawEvent(message.first(std::min(kSysExPiece, message.size())))), "play");
        }
        return;
    }
    snd_seq_event_t event{};
    snd_midi_event_reset_encode(coder_.get());
    const long used = snd_midi_event_encode(coder_.get(), message.data(), static_cast<long>(message.size()), &event);
    if (used != static_cast<long>(message.size()) || event.type == SND_SEQ_EVENT_NONE) {
        throw std::invalid_argument("not one message that the sequencer has an event for");
    }
    orThrow(emit(port, event), "play");
}

int SequencerPeer::emitDirect(snd_seq_event_t& event) {
    event.queue = SND_SEQ_QUEUE_DIRECT;
    return snd_seq_event_output_direct(handle_.get(), &event);
}

int SequencerPeer::emit(SequencerAddress port, snd_seq_event_t event) {
    event.source.port = port.raw().port;
    event.dest = {SND_SEQ_ADDRESS_SUBSCRIBERS, SND_SEQ_ADDRESS_UNKNOWN};
    return emitDirect(event);
}

int SequencerPeer::emitTo(SequencerAddress port, SequencerAddress destination, snd_seq_event_t event) {
    event.source.port = port.raw().port;
    event.dest = destination.raw();
    return emitDirect(event);
}

void SequencerPeer::playNumberedNotes(SequencerAddress port, unsigned first, unsigned count) {
    for (unsigned number = first; number != first + count; ++number) {
        const Bytes note = numberedNote(number);
        orThrow(emit(port, noteEvent(SND_SEQ_EVENT_NOTEON, 0, note[1], note[2])), "play a note");
    }
}

int SequencerPeer::connect(SequencerAddress from, SequencerAddress to) {
    const Subscription subscription;
    const snd_seq_addr_t sender = from.raw();
    const snd_seq_addr_t destination = to.raw();
    snd_seq_port_subscribe_set_sender(subscription.get(), &sender);
    snd_seq_port_subscribe_set_dest(subscription.get(), &destination);
    return snd_seq_subscribe_port(handle_.get(), subscription.get());
}

int SequencerPeer::disconnect(SequencerAddress from, SequencerAddress to) {
    const Subscription subscription;
    const snd_seq_addr_t sender = from.raw();
    const snd_seq_addr_t destination = to.raw();
    snd_seq_port_subscribe_set_sender(subscription.get(), &sender);
    snd_seq_port_subscribe_set_dest(subscription.get(), &destination);
    return snd_seq_unsubscribe_port(handle_.get(), subscription.get());
}

bool SequencerPeer::readWaiting() {
    if (pace_ > std::chrono::milliseconds(0)) {
        // This is the pace of the simulated slow program, not a wait.
        std::this_thread::sleep_for(pace_);
    }
    bool isWhole = true;
    // One read of the descriptor fills alsa-lib's buffer. A slow program reads one such portion at a time.
    do {
        snd_seq_event_t* event = nullptr;
        const int status = snd_seq_event_input(handle_.get(), &event);
        if (status == -ENOSPC) {
            ++overruns_;
            isWhole = false;
            continue;
        }
        if (status == -EAGAIN) {
            break;
        }
        orThrow(status, "read an event");
        record(*event);
    } while (snd_seq_event_input_pending(handle_.get(), pace_ == std::chrono::milliseconds(0) ? 1 : 0) > 0);
    return isWhole;
}

void SequencerPeer::record(const snd_seq_event_t& event) {
    ReceivedEvent& record = received_.emplace_back();
    record.sender = {event.source.client, event.source.port};
    record.port = event.dest.port;
    record.type = event.type;
    record.time = std::chrono::steady_clock::now();
    record.event = event;
    if (event.type == SND_SEQ_EVENT_SYSEX) {
        const auto* data = static_cast<const std::uint8_t*>(event.data.ext.ptr);
        record.bytes.assign(data, data + event.data.ext.len);
    } else {
        std::array<std::uint8_t, 16> buffer{};
        snd_midi_event_reset_decode(coder_.get());
        const long length = snd_midi_event_decode(coder_.get(), buffer.data(), buffer.size(), &event);
        record.bytes.assign(buffer.data(), buffer.data() + std::max(length, 0L));
    }
    receivedByteCount_ += record.bytes.size();
}

bool SequencerPeer::waitForInput(std::chrono::steady_clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
        return false;
    }
    pollfd descriptor{};
    orThrow(snd_seq_poll_descriptors(handle_.get(), &descriptor, 1, POLLIN), "ask for the descriptor");
    // The condition may depend on other things, so it is soon checked again.
    constexpr std::chrono::milliseconds kLook{10};
    poll(&descriptor, 1, static_cast<int>(std::min(left, kLook).count()));
    return true;
}

Bytes SequencerPeer::receivedBytes() const {
    Bytes all;
    for (const ReceivedEvent& event : received_) {
        all.insert(all.end(), event.bytes.begin(), event.bytes.end());
    }
    return all;
}

Bytes SequencerPeer::receivedBytes(SequencerAddress port) const {
    Bytes all;
    for (const ReceivedEvent& event : received_) {
        if (event.port == port.port) {
            all.insert(all.end(), event.bytes.begin(), event.bytes.end());
        }
    }
    return all;
}

void SequencerPeer::forgetReceived() {
    received_.clear();
    receivedByteCount_ = 0;
}

std::vector<SequencerPort> SequencerPeer::ports() const {
    std::vector<SequencerPort> found;
    const ClientInfo clientInfo;
    const PortInfo info;
    snd_seq_client_info_set_client(clientInfo.get(), -1);
    while (snd_seq_query_next_client(handle_.get(), clientInfo.get()) >= 0) {
        snd_seq_port_info_set_client(info.get(), snd_seq_client_info_get_client(clientInfo.get()));
        snd_seq_port_info_set_port(info.get(), -1);
        while (snd_seq_query_next_port(handle_.get(), info.get()) >= 0) {
            found.push_back({{snd_seq_port_info_get_client(info.get()), snd_seq_port_info_get_port(info.get())},
                             snd_seq_client_info_get_name(clientInfo.get()),
                             snd_seq_port_info_get_name(info.get()),
                             snd_seq_port_info_get_capability(info.get()),
                             snd_seq_port_info_get_type(info.get())});
        }
    }
    return found;
}

SequencerAddress SequencerPeer::find(const std::string& clientName, const std::string& portName) const {
    for (const SequencerPort& port : ports()) {
        if (port.clientName == clientName && port.name == portName) {
            return port.address;
        }
    }
    throw std::runtime_error("no port " + clientName + ": " + portName);
}

std::vector<SequencerAddress> SequencerPeer::subscribers(SequencerAddress source) const {
    std::vector<SequencerAddress> found;
    const Query query;
    const snd_seq_addr_t root = source.raw();
    snd_seq_query_subscribe_set_root(query.get(), &root);
    snd_seq_query_subscribe_set_type(query.get(), SND_SEQ_QUERY_SUBS_READ);
    snd_seq_query_subscribe_set_index(query.get(), 0);
    while (snd_seq_query_port_subscribers(handle_.get(), query.get()) >= 0) {
        const snd_seq_addr_t* address = snd_seq_query_subscribe_get_addr(query.get());
        found.push_back({address->client, address->port});
        snd_seq_query_subscribe_set_index(query.get(), snd_seq_query_subscribe_get_index(query.get()) + 1);
    }
    return found;
}

Bytes SequencerPeer::numberedNote(unsigned number, unsigned channel) {
    return {static_cast<std::uint8_t>(0x90 | (channel - 1)), static_cast<std::uint8_t>(number % 128),
            static_cast<std::uint8_t>(number / 128 % 127 + 1)};
}

std::vector<std::unique_ptr<SequencerPeer>> startUntilClient(const std::string& name, int client) {
    std::vector<std::unique_ptr<SequencerPeer>> peers;
    do {
        peers.push_back(std::make_unique<SequencerPeer>(name));
    } while (peers.back()->client() < client);
    if (peers.back()->client() != client) {
        throw std::runtime_error("the client number is taken");
    }
    return peers;
}

snd_seq_event_t noteEvent(snd_seq_event_type_t type, unsigned channel, unsigned key, unsigned velocity) {
    snd_seq_event_t event{};
    event.type = type;
    event.data.note.channel = static_cast<unsigned char>(channel);
    event.data.note.note = static_cast<unsigned char>(key);
    event.data.note.velocity = static_cast<unsigned char>(velocity);
    return event;
}

snd_seq_event_t controlEvent(snd_seq_event_type_t type, unsigned channel, unsigned parameter, int value) {
    snd_seq_event_t event{};
    event.type = type;
    event.data.control.channel = static_cast<unsigned char>(channel);
    event.data.control.param = parameter;
    event.data.control.value = value;
    return event;
}

snd_seq_event_t rawEvent(std::span<const std::uint8_t> bytes) {
    snd_seq_event_t event{};
    event.type = SND_SEQ_EVENT_SYSEX;
    event.flags = SND_SEQ_EVENT_LENGTH_VARIABLE;
    event.data.ext.len = static_cast<unsigned>(bytes.size());
    // The kernel only reads it, but alsa-lib's record is not const.
    event.data.ext.ptr = const_cast<std::uint8_t*>(bytes.data());
    return event;
}

}  // namespace corvel::tests
