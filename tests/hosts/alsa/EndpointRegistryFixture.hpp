#pragma once

#include "hosts/alsa/EndpointRegistry.hpp"

#include <alsa/asoundlib.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvel::tests {

using hosts::Endpoint;
using hosts::EndpointRegistry;
using hosts::PortAddress;
using hosts::PortDescription;
using hosts::SoundCard;

inline constexpr auto kSource = MIDIEndpointDirection::source;
inline constexpr auto kDestination = MIDIEndpointDirection::destination;
inline constexpr unsigned kReadable = SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ;
inline constexpr unsigned kWritable = SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE;

inline PortDescription programPort(int client, int port, const std::string& clientName, const std::string& portName) {
    PortDescription description;
    description.address = {client, port};
    description.clientName = clientName;
    description.portName = portName;
    description.capabilities = kReadable | kWritable;
    return description;
}

inline PortDescription cardPort(int client, int card, const std::string& clientName, const std::string& portName) {
    PortDescription description = programPort(client, 0, clientName, portName);
    description.card = card;
    description.isKernelClient = true;
    return description;
}

inline SoundCard usbCard(int number, const std::string& path, const std::optional<std::string>& serialNumber) {
    return {"UM" + std::to_string(number), "UM-ONE",
            SoundCard::USBDevice{"0582", "012a", serialNumber, path, "Roland"}};
}

/// A registry over ports and cards that a test lists.
class EndpointRegistryTest : public testing::Test {
protected:
    void replaceAll(const std::vector<PortDescription>& ports) {
        static_cast<void>(registry_.replaceAll(ports, false));
    }

    std::vector<MIDIEndpointRecord> sources() { return registry_.setup()->sources; }
    MIDIEndpointRecord firstSource() { return sources().at(0); }
    MIDIEndpointRecord firstDestination() { return registry_.setup()->destinations.at(0); }

    std::vector<std::string> sourceNames() {
        std::vector<std::string> names;
        for (const MIDIEndpointRecord& record : sources()) {
            names.push_back(record.displayName.value());
        }
        return names;
    }

    std::vector<std::int32_t> sourceIDs() {
        std::vector<std::int32_t> ids;
        for (const MIDIEndpointRecord& record : sources()) {
            ids.push_back(record.uniqueID.value());
        }
        return ids;
    }

    std::map<int, SoundCard> cards_;
    /// How often each card was read.
    std::map<int, int> readCounts_;
    EndpointRegistry registry_{[this](int card) {
        ++readCounts_[card];
        return cards_.at(card);
    }};
};

}  // namespace corvel::tests
