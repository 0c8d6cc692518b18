#include "program/InstanceMessage.hpp"

#include <charconv>
#include <cstdint>
#include <utility>

namespace corvel::InstanceMessage {

namespace {

using Texts = std::vector<std::string>;

constexpr std::string_view kForm = "corvel 2";
constexpr std::size_t kSizeBytes = 4;
constexpr std::size_t kHeadBytes = kForm.size() + kSizeBytes;

/// The first text of an answer.
constexpr std::string_view kDone = "done";
constexpr std::string_view kDeclined = "declined";

std::string encodedTexts(const Texts& texts) {
    std::string body;
    for (const std::string& text : texts) {
        body.append(text, 0, text.find('\0'));
        body += '\0';
    }
    std::string message(kForm);
    for (std::size_t byte = kSizeBytes; byte-- > 0;) {
        message += static_cast<char>(body.size() >> (8 * byte) & 0xFFU);
    }
    return message + body;
}

std::size_t announcedSize(std::string_view head) {
    std::size_t size = 0;
    for (const char byte : head.substr(kForm.size(), kSizeBytes)) {
        size = size << 8U | static_cast<std::uint8_t>(byte);
    }
    return size;
}

Texts separated(std::string_view body) {
    Texts texts;
    while (!body.empty()) {
        const std::size_t end = body.find('\0');
        texts.emplace_back(body.substr(0, end));
        body.remove_prefix(end + 1);
    }
    return texts;
}

Decoded<Texts> decodedTexts(std::string_view received, std::size_t limit) {
    if (!kForm.starts_with(received.substr(0, kForm.size()))) {
        return Invalid{};
    }
    if (received.size() < kHeadBytes) {
        return Incomplete{};
    }
    const std::size_t size = announcedSize(received);
    const std::string_view body = received.substr(kHeadBytes);
    if (size == 0 || size > limit || body.size() > size) {
        return Invalid{};
    }
    if (body.size() < size) {
        return Incomplete{};
    }
    if (body.back() != '\0') {
        return Invalid{};
    }
    return separated(body);
}

std::optional<int> number(const std::string& text) {
    int value = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

Decoded<InstanceRequest> request(Texts texts) {
    if (texts.size() < 2) {
        return Invalid{};
    }
    InstanceRequest result{.folder = std::move(texts[0]), .arguments = {}, .activationToken = std::move(texts[1])};
    texts.erase(texts.begin(), texts.begin() + 2);
    result.arguments = std::move(texts);
    return result;
}

Decoded<InstanceAnswer> answer(Texts texts) {
    if (texts.size() == 1 && texts[0] == kDeclined) {
        return InstanceAnswer();
    }
    if (texts.size() != 3 || texts[0] != kDone) {
        return Invalid{};
    }
    const std::optional<int> exitCode = number(texts[1]);
    return exitCode ? Decoded<InstanceAnswer>(CommandResult{*exitCode, std::move(texts[2])}) : Invalid{};
}

/// Decodes a message and converts its texts by `read`.
template <typename Content>
Decoded<Content> decoded(std::string_view received, std::size_t limit, Decoded<Content> (*read)(Texts)) {
    Decoded<Texts> texts = decodedTexts(received, limit);
    if (std::holds_alternative<Incomplete>(texts)) {
        return Incomplete{};
    }
    auto* const complete = std::get_if<Texts>(&texts);
    return complete != nullptr ? read(std::move(*complete)) : Invalid{};
}

}  // namespace

std::string encoded(const InstanceRequest& request) {
    Texts texts{request.folder.native(), request.activationToken};
    texts.insert(texts.end(), request.arguments.begin(), request.arguments.end());
    return encodedTexts(texts);
}

std::string encoded(const InstanceAnswer& answer) {
    return encodedTexts(answer ? Texts{std::string(kDone), std::to_string(answer->exitCode), answer->text}
                               : Texts{std::string(kDeclined)});
}

Decoded<InstanceRequest> decodedRequest(std::string_view received, std::size_t limit) {
    return decoded(received, limit, &request);
}

Decoded<InstanceAnswer> decodedAnswer(std::string_view received, std::size_t limit) {
    return decoded(received, limit, &answer);
}

}  // namespace corvel::InstanceMessage
