#pragma once

#include "hosts/alsa/InputRoom.hpp"
#include "hosts/alsa/PortDescription.hpp"

#include <alsa/asoundlib.h>

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace corvel::hosts {

/// A program's own client of the ALSA sequencer: an open handle with the operations that the host needs.
///
/// Results are negative errno values on failure. One thread at a time. Closing happens with the object.
class SequencerClient {
public:
    /// Opens the sequencer without blocking, with the largest pools there are. No value, and the reason in `status`, if
    /// it cannot be opened.
    [[nodiscard]] static std::unique_ptr<SequencerClient> open(std::string_view name, int& status);

    [[nodiscard]] int number() const { return number_; }

    /// Creates a port that other programs do not see; its number or a failure.
    [[nodiscard]] int createHiddenPort(std::string_view name, unsigned capabilities);
    void deletePort(int port);

    /// All ports of all clients, in order; the own client's left out.
    [[nodiscard]] std::vector<PortDescription> ports() const;
    /// One port; no value if it is gone.
    [[nodiscard]] std::optional<PortDescription> port(const PortAddress& address) const;

    /// Subscribes, and keeps a subscription that is there already.
    [[nodiscard]] int subscribeFrom(int ownPort, const PortAddress& source);
    void unsubscribeFrom(int ownPort, const PortAddress& source);
    [[nodiscard]] bool isSubscribedFrom(int ownPort, const PortAddress& source) const;
    [[nodiscard]] int subscribeTo(int ownPort, const PortAddress& destination);

    /// The port that direct sends come from.
    void setOutputPort(int port) { outputPort_ = port; }

    /// Ready to be read when there are events.
    [[nodiscard]] int descriptor() const { return descriptor_; }

    /// The next event that waits, valid until the next call; null with -EAGAIN when none does, with another status when
    /// reading failed (-ENOSPC: the pool overran and what it held is lost).
    [[nodiscard]] const snd_seq_event_t* read(int& status);

    /// Whether events that were read together with the last one are left.
    [[nodiscard]] bool hasBufferedEvents() const;

    /// Sends to one destination at once, without waiting, from the output port.
    [[nodiscard]] int sendDirectly(const PortAddress& destination, snd_seq_event_t& event);

    /// The room for events in a program's input pool; none for the kernel's clients.
    [[nodiscard]] std::optional<InputRoom> inputRoom(int client) const;

private:
    struct Close {
        void operator()(snd_seq_t* handle) const { snd_seq_close(handle); }
    };

    explicit SequencerClient(snd_seq_t* handle);

    std::unique_ptr<snd_seq_t, Close> handle_;
    int number_ = -1;
    int descriptor_ = -1;
    int outputPort_ = 0;
};

}  // namespace corvel::hosts
