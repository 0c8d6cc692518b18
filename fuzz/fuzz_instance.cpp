// Feeds arbitrary bytes, in pieces, to the decoders of requests to the running instance and of its answers.

#include "fuzz/Invariant.hpp"
#include "program/InstanceMessage.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace {

using namespace corvel;
using fuzz::require;

constexpr std::size_t kLimit = 4096;

std::string evidence(std::string_view message) {
    return "message " + fuzz::hex({reinterpret_cast<const std::uint8_t*>(message.data()), message.size()});
}

/// `decode` is one of the two decoders.
template <typename Decode>
void check(std::string_view message, const Decode& decode) {
    using Decoded = decltype(decode(message));
    using Content = std::variant_alternative_t<2, Decoded>;
    const Decoded whole = decode(message);
    const auto because = [message] { return evidence(message); };
    bool isDecided = false;
    for (std::size_t size = 0; size <= message.size(); ++size) {
        const Decoded part = decode(message.substr(0, size));
        require(!isDecided || !std::holds_alternative<InstanceMessage::Incomplete>(part),
                "what is decided does not become open again", because);
        require(size == message.size() || !isDecided || part == whole || std::holds_alternative<Content>(part) ||
                    std::holds_alternative<InstanceMessage::Invalid>(whole),
                "what is no message does not become one", because);
        isDecided = !std::holds_alternative<InstanceMessage::Incomplete>(part);
    }
    if (const auto* content = std::get_if<Content>(&whole)) {
        const std::string again = InstanceMessage::encoded(*content);
        require(decode(again) == whole, "a message that is decoded is the same when it is sent on", because);
        require(std::holds_alternative<InstanceMessage::Incomplete>(decode(message.substr(0, message.size() - 1))),
                "a message is complete only at its end", because);
        require(std::holds_alternative<InstanceMessage::Invalid>(decode(std::string(message) + '\0')),
                "nothing may follow a message", because);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto request = [](std::string_view bytes) { return InstanceMessage::decodedRequest(bytes, kLimit); };
    const auto answer = [](std::string_view bytes) { return InstanceMessage::decodedAnswer(bytes, kLimit); };
    const std::string_view message(reinterpret_cast<const char*>(data), size);
    check(message, request);
    check(message, answer);
    // Random inputs seldom begin with the word and the size, so the input is also tried as the texts that follow them.
    std::string framed("corvel 2");
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        framed += static_cast<char>(size >> shift & 0xFFU);
    }
    framed += message;
    check(framed, request);
    check(framed, answer);
    return 0;
}
