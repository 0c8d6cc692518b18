#include "hosts/alsa/SequencerClient.hpp"

#include "hosts/alsa/EventCoding.hpp"
#include "hosts/alsa/InputPool.hpp"
#include "hosts/alsa/SilencedLibraryErrors.hpp"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace corvel::hosts {

namespace {

snd_seq_addr_t address(int client, int port) {
    return {static_cast<unsigned char>(client), static_cast<unsigned char>(port)};
}

snd_seq_addr_t address(const PortAddress& port) {
    return address(port.client, port.port);
}

/// The maximum pool that the sequencer grants, in cells.
constexpr std::size_t kPoolSize = 2000;

/// Maximum number of bytes in a read. An event larger than the buffer would stay in the queue for ever.
constexpr std::size_t kInputBufferSize = 65'536;

/// Maximum number of bytes in a write: the number of events that are sent together, all of maximum size.
constexpr std::size_t kOutputBufferSize =
    SequencerClient::kMaxEventsPerSend * (sizeof(snd_seq_event_t) + kMaxRawEventSize) + 1;

PortDescription describe(snd_seq_client_info_t* client, const snd_seq_port_info_t* port) {
    const bool isKernelClient = snd_seq_client_info_get_type(client) == SND_SEQ_KERNEL_CLIENT;
    return {.address = {snd_seq_port_info_get_client(port), snd_seq_port_info_get_port(port)},
            .clientName = snd_seq_client_info_get_name(client),
            .portName = snd_seq_port_info_get_name(port),
            .capabilities = snd_seq_port_info_get_capability(port),
            .card = isKernelClient ? snd_seq_client_info_get_card(client) : -1,
            .processID = isKernelClient ? -1 : snd_seq_client_info_get_pid(client),
            .isKernelClient = isKernelClient};
}

}  // namespace

std::unique_ptr<SequencerClient> SequencerClient::open(std::string_view name, int& status) {
    const SilencedLibraryErrors silenced;
    snd_seq_t* handle = nullptr;
    status = snd_seq_open(&handle, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK);
    if (status < 0) {
        return nullptr;
    }
    std::unique_ptr<SequencerClient> client(new SequencerClient(handle));
    // The buffer size comes first, because setting it drops waiting events. The name comes before any port, because the
    // ports announce it.
    for (const int result :
         {snd_seq_set_input_buffer_size(handle, kInputBufferSize),
          snd_seq_set_output_buffer_size(handle, kOutputBufferSize),
          snd_seq_set_client_name(handle, std::string(name).c_str()), snd_seq_set_client_pool_input(handle, kPoolSize),
          snd_seq_set_client_pool_output(handle, kPoolSize)}) {
        if (result < 0) {
            status = result;
            return nullptr;
        }
    }
    return client;
}

SequencerClient::SequencerClient(snd_seq_t* handle) : handle_(handle), number_(snd_seq_client_id(handle)) {
    pollfd descriptor{-1, 0, 0};
    snd_seq_poll_descriptors(handle, &descriptor, 1, POLLIN);
    descriptor_ = descriptor.fd;
}

int SequencerClient::createHiddenPort(std::string_view name, unsigned capabilities) {
    return snd_seq_create_simple_port(handle_.get(), std::string(name).c_str(),
                                      capabilities | SND_SEQ_PORT_CAP_NO_EXPORT,
                                      SND_SEQ_PORT_TYPE_MIDI_GENERIC | SND_SEQ_PORT_TYPE_APPLICATION);
}

void SequencerClient::deletePort(int port) {
    snd_seq_delete_simple_port(handle_.get(), port);
}

void SequencerClient::forEachPort(absl::FunctionRef<void(PortDescription&&)> visit) const {
    snd_seq_client_info_t* client = nullptr;
    snd_seq_port_info_t* port = nullptr;
    snd_seq_client_info_alloca(&client);
    snd_seq_port_info_alloca(&port);
    snd_seq_client_info_set_client(client, -1);
    while (snd_seq_query_next_client(handle_.get(), client) >= 0) {
        const int number = snd_seq_client_info_get_client(client);
        if (number == number_) {
            continue;
        }
        snd_seq_port_info_set_client(port, number);
        snd_seq_port_info_set_port(port, -1);
        while (snd_seq_query_next_port(handle_.get(), port) >= 0) {
            visit(describe(client, port));
        }
    }
}

std::optional<PortDescription> SequencerClient::port(const PortAddress& address) const {
    snd_seq_client_info_t* client = nullptr;
    snd_seq_port_info_t* port = nullptr;
    snd_seq_client_info_alloca(&client);
    snd_seq_port_info_alloca(&port);
    if (snd_seq_get_any_client_info(handle_.get(), address.client, client) < 0 ||
        snd_seq_get_any_port_info(handle_.get(), address.client, address.port, port) < 0) {
        return std::nullopt;
    }
    return describe(client, port);
}

int SequencerClient::subscribeFrom(int ownPort, const PortAddress& source) {
    const int result = snd_seq_connect_from(handle_.get(), ownPort, source.client, source.port);
    // A port that another program holds exclusively answers "busy", and so does one that is already subscribed.
    return result == -EBUSY && isSubscribedFrom(ownPort, source) ? 0 : result;
}

int SequencerClient::subscribeTo(int ownPort, const PortAddress& destination) {
    const int result = snd_seq_connect_to(handle_.get(), ownPort, destination.client, destination.port);
    return result == -EBUSY && isSubscribed(address(number_, ownPort), address(destination)) ? 0 : result;
}

void SequencerClient::unsubscribeFrom(int ownPort, const PortAddress& source) {
    snd_seq_disconnect_from(handle_.get(), ownPort, source.client, source.port);
}

bool SequencerClient::isSubscribedFrom(int ownPort, const PortAddress& source) const {
    return isSubscribed(address(source), address(number_, ownPort));
}

bool SequencerClient::isSubscribed(const snd_seq_addr_t& sender, const snd_seq_addr_t& receiver) const {
    snd_seq_port_subscribe_t* subscription = nullptr;
    snd_seq_port_subscribe_alloca(&subscription);
    snd_seq_port_subscribe_set_sender(subscription, &sender);
    snd_seq_port_subscribe_set_dest(subscription, &receiver);
    return snd_seq_get_port_subscription(handle_.get(), subscription) == 0;
}

const snd_seq_event_t* SequencerClient::read(int& status) {
    snd_seq_event_t* event = nullptr;
    do {
        status = snd_seq_event_input(handle_.get(), &event);
    } while (status == -EINTR);
    return status >= 0 ? event : nullptr;
}

bool SequencerClient::hasBufferedEvents() const {
    return snd_seq_event_input_pending(handle_.get(), 0) > 0;
}

std::size_t SequencerClient::send(std::span<snd_seq_event_t> events, int& status) {
    bool hasFixedSize = true;
    for (snd_seq_event_t& event : events) {
        snd_seq_ev_set_source(&event, static_cast<unsigned char>(outputPort_));
        snd_seq_ev_set_direct(&event);
        hasFixedSize = hasFixedSize && !snd_seq_ev_is_variable(&event);
    }
    return hasFixedSize ? write(events, status) : writeBuffered(events, status);
}

/// Events of fixed size are in memory as the kernel takes them.
std::size_t SequencerClient::write(std::span<const snd_seq_event_t> events, int& status) const {
    std::size_t sent = 0;
    while (sent < events.size()) {
        const ssize_t written = ::write(descriptor_, &events[sent], (events.size() - sent) * sizeof(snd_seq_event_t));
        if (written > 0) {
            sent += static_cast<std::size_t>(written) / sizeof(snd_seq_event_t);
        } else if (errno != EINTR) {
            status = -errno;
            break;
        }
    }
    return sent;
}

std::size_t SequencerClient::writeBuffered(std::span<snd_seq_event_t> events, int& status) {
    for (snd_seq_event_t& event : events) {
        snd_seq_event_output_buffer(handle_.get(), &event);
    }
    status = snd_seq_drain_output(handle_.get());
    if (status >= 0) {
        return events.size();
    }
    // The events left in the buffer start with the one that failed.
    std::size_t sent = events.size();
    for (int left = snd_seq_event_output_pending(handle_.get()); left > 0 && sent > 0;) {
        left -= static_cast<int>(snd_seq_event_length(&events[--sent]));
    }
    snd_seq_drop_output_buffer(handle_.get());
    return sent;
}

std::optional<InputPool> SequencerClient::inputPool(int client) const {
    return queryInputPool(descriptor_, client);
}

}  // namespace corvel::hosts
