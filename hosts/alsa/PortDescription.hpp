#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <string>

namespace corvel::hosts {

/// Address of a port in the sequencer. Valid only while the port exists, and reused at once afterwards.
struct PortAddress {
    int client = 0;
    int port = 0;

    auto operator<=>(const PortAddress&) const = default;
};

/// A port as the sequencer describes it. Names are unchanged: they may contain a PID and any bytes.
struct PortDescription {
    /// Bits of `capabilities` that newer kernels have and older headers lack.
    static constexpr unsigned kInactive = 1U << 8U;
    static constexpr unsigned kUMPEndpoint = 1U << 9U;

    PortAddress address;
    std::string clientName;
    std::string portName;
    /// The sequencer's capability bits.
    unsigned capabilities = 0;
    /// Number of the sound card that a kernel client belongs to, or -1.
    int card = -1;
    /// PID of a program's client, or -1.
    int processID = -1;
    /// Whether the client belongs to the kernel.
    bool isKernelClient = false;

    bool operator==(const PortDescription&) const = default;
};

}  // namespace corvel::hosts

template <>
struct std::hash<corvel::hosts::PortAddress> {
    std::size_t operator()(const corvel::hosts::PortAddress& address) const noexcept {
        // Both have eight bits.
        return static_cast<std::size_t>(address.client << 8 | address.port);
    }
};
