#pragma once

#include <jack/jack.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace corvel::tests {

/// Another program on a JACK server: its output port "out" plays numbered messages, and its input port "in" records
/// when each comes back. Belongs to the test's thread, except for the server's callback.
class JackPeer {
public:
    /// A numbered message is a pitch bend whose value is the number modulo this.
    static constexpr std::uint32_t kNumbers = 16'384;

    struct Arrival {
        /// The low 14 bits of its number.
        std::uint32_t number = 0;
        std::uint8_t status = 0;
        /// Frames since it was played.
        std::uint32_t delay = 0;
    };

    /// Keeps up to `capacity` arrivals of messages that `player` played, which must outlive this peer, or that this
    /// peer played itself. A path from a peer back to itself is a cycle, for which servers add a period. Throws
    /// `std::runtime_error` if no server runs.
    explicit JackPeer(const std::string& name, std::size_t capacity, const JackPeer* player = nullptr);
    JackPeer(const JackPeer&) = delete;
    JackPeer& operator=(const JackPeer&) = delete;
    ~JackPeer();

    /// Plays this many messages, `perPeriod` in each period at frames spread over it, from the next period on.
    void play(std::uint32_t count, std::uint32_t perPeriod);
    /// Connects the player's output directly to the input.
    void connectDirectly();

    /// Adds output ports that play nothing, named "extra" and a number from `first` on. Returns how many the server
    /// accepted.
    std::size_t addExtraPorts(std::size_t first, std::size_t count);
    void removeExtraPorts();
    void renameOutput(const std::string& name);

    [[nodiscard]] std::uint32_t playedCount() const { return played_.load(std::memory_order_acquire); }
    [[nodiscard]] std::size_t arrivedCount() const { return arrived_.load(std::memory_order_acquire); }
    [[nodiscard]] const Arrival& arrival(std::size_t index) const { return arrivals_[index]; }
    [[nodiscard]] std::uint32_t period() const;
    /// The number of periods that the server has missed. In them it may lose or repeat messages, even over a direct
    /// connection.
    [[nodiscard]] std::size_t xrunCount() const { return xruns_.load(std::memory_order_relaxed); }
    /// Whether the server has ended.
    [[nodiscard]] bool isShutDown() const { return isShutDown_; }

private:
    void process(jack_nframes_t frames);

    const JackPeer& player_;
    jack_client_t* client_ = nullptr;
    jack_port_t* output_ = nullptr;
    jack_port_t* input_ = nullptr;
    std::vector<jack_port_t*> extraPorts_;
    std::atomic<std::uint32_t> wanted_ = 0;
    std::atomic<std::uint32_t> perPeriod_ = 1;
    std::atomic<std::uint32_t> played_ = 0;
    std::atomic<std::size_t> arrived_ = 0;
    std::atomic<std::size_t> xruns_ = 0;
    std::atomic<bool> isShutDown_ = false;
    std::array<std::atomic<std::uint32_t>, kNumbers> playedAt_{};
    std::vector<Arrival> arrivals_;
};

}  // namespace corvel::tests
