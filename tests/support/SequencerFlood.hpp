#pragma once

#include "tests/support/SequencerPeer.hpp"

#include <atomic>
#include <string>
#include <thread>

namespace corvel::tests {

/// A program with a source port "Out" that plays one note repeatedly, up to 24,000 times a second, 200 notes with each
/// system call, in a thread of its own. Four of them play more than a router in an emulated machine can send. Its
/// operations belong to the test's thread.
class SequencerFlood {
public:
    explicit SequencerFlood(const std::string& name);
    SequencerFlood(const SequencerFlood&) = delete;
    SequencerFlood& operator=(const SequencerFlood&) = delete;
    ~SequencerFlood();

    /// Not to be used between `begin()` and `end()`.
    [[nodiscard]] const SequencerPeer& peer() const { return peer_; }
    [[nodiscard]] SequencerAddress port() const { return port_; }

    void begin();
    void end();

private:
    void play();

    SequencerPeer peer_;
    SequencerAddress port_;
    std::atomic<bool> isToEnd_{false};
    std::thread thread_;
};

}  // namespace corvel::tests
