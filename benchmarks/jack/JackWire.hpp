#pragma once

#include <jack/jack.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace corvel::benchmarks {

/// The result of a run of messages from the player to the listener. Delays are in frames.
struct JackRun {
    /// The length of the last period, in frames. PipeWire decides on it only when a client is active.
    std::uint32_t period = 0;
    std::size_t sent = 0;
    std::size_t received = 0;
    /// Messages that arrived again, or after a later one.
    std::size_t repeated = 0;
    /// Whether no other events arrived.
    bool isClean = true;
    std::int64_t minimumDelay = 0;
    std::int64_t maximumDelay = 0;
    double meanDelay = 0;
    /// The number of periods that the server did not finish in time during the run.
    std::size_t xruns = 0;
};

/// Two clients of the running JACK server. One plays numbered note-ons; the other receives them and compares the frame
/// of each with that at which it was played. Throws `std::runtime_error` if there is no server.
class JackWire {
public:
    static constexpr const char* kPlayer = "Wire Player";
    static constexpr const char* kListener = "Wire Listener";

    JackWire();
    JackWire(const JackWire&) = delete;
    JackWire& operator=(const JackWire&) = delete;

    [[nodiscard]] std::uint32_t frameRate() const { return jack_get_sample_rate(player_.get()); }

    /// Connects the two ports with each other, and disconnects them.
    void connectDirectly();
    void disconnect();

    /// Plays until the first message arrives, and returns that run; throws if none does.
    JackRun waitForRouter();

    /// Plays this many messages, `perPeriod` in each period. Returns when all have arrived, or when no more arrive.
    [[nodiscard]] JackRun play(std::size_t count, std::size_t perPeriod);

private:
    struct Closer {
        void operator()(jack_client_t* client) const { jack_client_close(client); }
    };
    using Client = std::unique_ptr<jack_client_t, Closer>;

    static Client open(const char* name);
    void playPeriod(std::uint32_t frames);
    void listenPeriod(std::uint32_t frames);

    jack_port_t* output_ = nullptr;
    jack_port_t* input_ = nullptr;

    /// The number of messages to play in each period, and in all. `wanted_` is set last.
    std::size_t perPeriod_ = 0;
    std::atomic<std::size_t> wanted_ = 0;
    std::atomic<std::size_t> sent_ = 0;
    std::atomic<std::uint32_t> period_ = 0;
    /// The frame of each message that was played.
    std::vector<std::uint32_t> frames_;

    // Used by the listener's thread only, except the counts.
    std::int64_t minimumDelay_ = 0;
    std::int64_t maximumDelay_ = 0;
    std::int64_t sumOfDelays_ = 0;
    std::size_t next_ = 0;
    std::size_t repeated_ = 0;
    bool isClean_ = true;
    std::atomic<std::size_t> received_ = 0;
    std::atomic<std::size_t> xruns_ = 0;

    // Last, so that they are closed first: their threads use the members above.
    Client player_;
    Client listener_;
};

}  // namespace corvel::benchmarks
