// A minimal router on the ALSA sequencer, against which routers are measured: one thread that waits, reads, changes the
// event's channel and sends it. It has no limits, no reports and no buffer.
//
// usage: minimal_router SOURCE DESTINATION CHANNEL    (addresses as client:port, the channel from 1)

#include <alsa/asoundlib.h>
#include <poll.h>

#include <cstdio>
#include <cstdlib>

namespace {

void requireSuccess(int status, const char* operation) {
    if (status < 0) {
        std::fprintf(stderr, "minimal_router: %s: %s\n", operation, snd_strerror(status));
        std::exit(1);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: minimal_router SOURCE DESTINATION CHANNEL\n");
        return 2;
    }
    snd_seq_t* sequencer = nullptr;
    requireSuccess(snd_seq_open(&sequencer, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK), "open");
    requireSuccess(snd_seq_set_client_name(sequencer, "Least Router"), "name");
    snd_seq_addr_t source{};
    snd_seq_addr_t destination{};
    requireSuccess(snd_seq_parse_address(sequencer, &source, argv[1]), "source");
    requireSuccess(snd_seq_parse_address(sequencer, &destination, argv[2]), "destination");
    const auto channel = static_cast<unsigned char>(std::atoi(argv[3]) - 1);
    const int port = snd_seq_create_simple_port(sequencer, "Through", SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_READ,
                                                SND_SEQ_PORT_TYPE_APPLICATION);
    requireSuccess(port, "create a port");
    requireSuccess(snd_seq_connect_from(sequencer, port, source.client, source.port), "connect");

    pollfd descriptor{};
    snd_seq_poll_descriptors(sequencer, &descriptor, 1, POLLIN);
    while (poll(&descriptor, 1, -1) >= 0) {
        snd_seq_event_t* event = nullptr;
        while (snd_seq_event_input(sequencer, &event) >= 0) {
            if (event->source.client == SND_SEQ_CLIENT_SYSTEM) {
                continue;
            }
            if (snd_seq_ev_is_channel_type(event)) {
                event->data.control.channel = channel;
            }
            event->source.port = static_cast<unsigned char>(port);
            event->dest = destination;
            event->queue = SND_SEQ_QUEUE_DIRECT;
            snd_seq_event_output_direct(sequencer, event);
        }
    }
    return 1;
}
