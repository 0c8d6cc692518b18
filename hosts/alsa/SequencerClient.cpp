#include "hosts/alsa/SequencerClient.hpp"

#include "hosts/alsa/ClientPool.hpp"
#include "hosts/alsa/QuietLibrary.hpp"

#include <poll.h>

#include <cerrno>
#include <cstddef>
#include <string>

namespace corvel::hosts {

namespace {

/// The largest pool that the sequencer grants, in cells.
constexpr std::size_t kPoolSize = 2000;

/// Bytes that one read can take. An event larger than the buffer would stay in the queue for ever.
constexpr std::size_t kInputBufferSize = 65'536;

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
    const QuietLibrary quiet;
    snd_seq_t* handle = nullptr;
    status = snd_seq_open(&handle, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK);
    if (status < 0) {
        return nullptr;
    }
    std::unique_ptr<SequencerClient> client(new SequencerClient(handle));
    // The buffer first: setting it drops what is waiting. The name before any port, since ports announce the client.
    for (const int result :
         {snd_seq_set_input_buffer_size(handle, kInputBufferSize),
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

std::vector<PortDescription> SequencerClient::ports() const {
    std::vector<PortDescription> descriptions;
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
            descriptions.push_back(describe(client, port));
        }
    }
    return descriptions;
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
    return result == -EBUSY ? 0 : result;
}

void SequencerClient::unsubscribeFrom(int ownPort, const PortAddress& source) {
    snd_seq_disconnect_from(handle_.get(), ownPort, source.client, source.port);
}

bool SequencerClient::isSubscribedFrom(int ownPort, const PortAddress& source) const {
    snd_seq_port_subscribe_t* subscription = nullptr;
    snd_seq_port_subscribe_alloca(&subscription);
    const snd_seq_addr_t sender{static_cast<unsigned char>(source.client), static_cast<unsigned char>(source.port)};
    const snd_seq_addr_t receiver{static_cast<unsigned char>(number_), static_cast<unsigned char>(ownPort)};
    snd_seq_port_subscribe_set_sender(subscription, &sender);
    snd_seq_port_subscribe_set_dest(subscription, &receiver);
    return snd_seq_get_port_subscription(handle_.get(), subscription) == 0;
}

int SequencerClient::subscribeTo(int ownPort, const PortAddress& destination) {
    const int result = snd_seq_connect_to(handle_.get(), ownPort, destination.client, destination.port);
    return result == -EBUSY ? 0 : result;
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

int SequencerClient::sendDirectly(const PortAddress& destination, snd_seq_event_t& event) {
    snd_seq_ev_set_source(&event, static_cast<unsigned char>(outputPort_));
    snd_seq_ev_set_dest(&event, static_cast<unsigned char>(destination.client),
                        static_cast<unsigned char>(destination.port));
    snd_seq_ev_set_direct(&event);
    return snd_seq_event_output_direct(handle_.get(), &event);
}

std::optional<InputRoom> SequencerClient::inputRoom(int client) const {
    return queryInputRoom(descriptor_, client);
}

}  // namespace corvel::hosts
