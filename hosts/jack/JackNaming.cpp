#include "hosts/jack/JackNaming.hpp"

#include "core/support/Text.hpp"
#include "hosts/EndpointNaming.hpp"

#include <algorithm>

namespace corvel::hosts {

namespace {

constexpr std::string_view kOwnClient = "Corvel";

/// Maximum size of a port's name that every server accepts, in bytes.
constexpr std::size_t kMaxOwnName = 120;

/// The text without a "-" and digits at its end, if there are any.
std::string_view withoutNumber(std::string_view text) {
    const std::size_t dash = text.find_last_not_of("0123456789");
    const bool endsInNumber = dash != std::string_view::npos && dash + 1 < text.size() && text[dash] == '-';
    return endsInNumber && dash > 0 ? text.substr(0, dash) : text;
}

/// At most `size` bytes, without splitting a character.
std::string shortened(std::string text, std::size_t size) {
    if (text.size() > size) {
        while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U) {
            --size;
        }
        text.resize(size);
    }
    return text;
}

}  // namespace

std::string baseClientName(const JackPort& port) {
    const std::string_view client = port.client();
    const std::string_view base = withoutNumber(client);
    const std::string_view number = client.substr(base.size());
    const std::string asked = std::string(base) + ":" + std::string(port.port());
    const bool isJacks = number.size() == 3 && number[1] == '0' && number[2] != '0';
    const bool isServers = isJacks || std::ranges::find(port.aliases, asked) != port.aliases.end();
    return text::repairedUTF8(isServers ? base : client);
}

bool isCorvels(const JackPort& port) {
    return withoutNumber(port.client()) == kOwnClient;
}

std::int32_t uniqueJackID(MIDIEndpointDirection direction, std::string_view client, std::string_view port) {
    return uniqueEndpointID(direction, "jack\n" + std::string(client), 0, port);
}

std::string displayNameOf(const JackPort& port, bool isOnlyPort) {
    if (!port.prettyName.empty()) {
        return text::repairedUTF8(port.prettyName);
    }
    std::string name = text::repairedUTF8(port.client());
    return isOnlyPort ? name : name + " " + text::repairedUTF8(port.port());
}

std::string ownPortName(std::string_view otherPort, const std::set<std::string>& taken) {
    std::string wanted = text::repairedUTF8(otherPort);
    std::ranges::replace(wanted, ':', ' ');
    wanted = shortened(std::move(wanted), kMaxOwnName);
    std::string name = wanted;
    for (int number = 2; taken.contains(name); ++number) {
        name = wanted + " " + std::to_string(number);
    }
    return name;
}

}  // namespace corvel::hosts
