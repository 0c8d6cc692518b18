#pragma once

#include "hosts/alsa/InputPool.hpp"
#include "hosts/alsa/PortDescription.hpp"

#include <absl/functional/function_ref.h>
#include <alsa/asoundlib.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace corvel::hosts {

/// A program's own client of the ALSA sequencer: an open handle with the operations that the host needs.
///
/// Failures are negative errno values. One thread at a time. The destructor closes the client.
class SequencerClient {
public:
    static constexpr std::size_t kMaxEventsPerSend = 64;

    /// Opens the sequencer in non-blocking mode, with the maximum pools. No value, and the reason in `status`, if it
    /// cannot be opened.
    [[nodiscard]] static std::unique_ptr<SequencerClient> open(std::string_view name, int& status);

    [[nodiscard]] int number() const { return number_; }

    /// Creates a port that other programs do not see. Returns its number or a failure.
    [[nodiscard]] int createHiddenPort(std::string_view name, unsigned capabilities);
    void deletePort(int port);

    /// Calls `visit` with each port of every other client, in the order of client and port.
    void forEachPort(absl::FunctionRef<void(PortDescription&&)> visit) const;
    /// One port; no value if it does not exist.
    [[nodiscard]] std::optional<PortDescription> port(const PortAddress& address) const;

    /// Subscribes a port of this client; success if it is already subscribed. -EBUSY if another program holds the port
    /// exclusively.
    [[nodiscard]] int subscribeFrom(int ownPort, const PortAddress& source);
    [[nodiscard]] int subscribeTo(int ownPort, const PortAddress& destination);
    void unsubscribeFrom(int ownPort, const PortAddress& source);
    [[nodiscard]] bool isSubscribedFrom(int ownPort, const PortAddress& source) const;

    /// Sets the port that events are sent from.
    void setOutputPort(int port) { outputPort_ = port; }

    /// The descriptor, readable when there are events.
    [[nodiscard]] int descriptor() const { return descriptor_; }

    /// The next event, valid until the next call. Null with status -EAGAIN if there is none, and with another status if
    /// reading failed (-ENOSPC: the pool overran and its events are lost).
    [[nodiscard]] const snd_seq_event_t* read(int& status);

    /// Whether events of the last read are left.
    [[nodiscard]] bool hasBufferedEvents() const;

    /// Sends the events, at most `kMaxEventsPerSend`, to their destinations, at once and without waiting, in one write.
    /// Returns how many were sent; if not all were, `status` is the failure of the next one.
    [[nodiscard]] std::size_t send(std::span<snd_seq_event_t> events, int& status);

    /// The free room in a program's input pool; no value for the kernel's clients.
    [[nodiscard]] std::optional<InputPool> inputPool(int client) const;

private:
    struct Close {
        void operator()(snd_seq_t* handle) const { snd_seq_close(handle); }
    };

    explicit SequencerClient(snd_seq_t* handle);
    [[nodiscard]] std::size_t write(std::span<const snd_seq_event_t> events, int& status) const;
    [[nodiscard]] std::size_t writeBuffered(std::span<snd_seq_event_t> events, int& status);
    [[nodiscard]] bool isSubscribed(const snd_seq_addr_t& sender, const snd_seq_addr_t& receiver) const;

    std::unique_ptr<snd_seq_t, Close> handle_;
    int number_ = -1;
    int descriptor_ = -1;
    int outputPort_ = 0;
};

}  // namespace corvel::hosts
