#pragma once

#include "app/Settings.hpp"
#include "core/engine/MIDIEndpointModel.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace corvel {

/// The names that the user gave to endpoints. They are stored in the settings by direction and unique ID, which stay
/// the same for the same device. They affect only what is displayed. Main thread only.
class EndpointAliases {
public:
    /// Prefix of the settings' keys; direction, a dot and the ID follow: "Corvel.alias.source.1048576".
    static constexpr std::string_view kKeyPrefix = "Corvel.alias.";

    /// Reads the stored names.
    explicit EndpointAliases(std::shared_ptr<Settings> settings);

    /// The endpoint's name, or null. Valid until that name changes.
    [[nodiscard]] const std::string* find(MIDIEndpointDirection direction, std::int32_t endpointID) const;

    /// Stores a name without surrounding white space. An empty name removes the stored one.
    void set(MIDIEndpointDirection direction, std::int32_t endpointID, std::string_view alias);

private:
    const std::shared_ptr<Settings> settings_;
    std::map<std::pair<MIDIEndpointDirection, std::int32_t>, std::string> aliases_;
};

}  // namespace corvel
