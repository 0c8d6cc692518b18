#include "hosts/jack/ALSAMirror.hpp"

#include "hosts/jack/JackNaming.hpp"

#include <algorithm>
#include <string>

namespace corvel::hosts {

bool mirrorsALSA(const JackPort& port) {
    const auto hasAlias = [&port](std::string_view start) {
        return std::ranges::any_of(port.aliases,
                                   [start](const std::string& alias) { return alias.starts_with(start); });
    };
    const std::string client = baseClientName(port);
    if (client == "Midi-Bridge" || client == "a2j" || client == "system_midi") {
        return true;
    }
    return hasAlias("alsa:seq:") || (client == "system" && port.port().starts_with("midi_") && hasAlias("alsa"));
}

}  // namespace corvel::hosts
