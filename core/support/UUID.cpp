#include "core/support/UUID.hpp"

#include <uuid/uuid.h>

#include <bit>
#include <random>

namespace corvel {

namespace {

constexpr std::size_t kTextLength = UUID_STR_LEN - 1;

/// A generator with a 256-bit seed from the system: quick to draw, and large enough that two threads or runs of the
/// program never share a sequence.
std::mt19937_64 makeGenerator() {
    std::random_device entropy;
    std::array<std::uint32_t, 8> words{};
    for (std::uint32_t& word : words) {
        word = entropy();
    }
    std::seed_seq seed(words.begin(), words.end());
    return std::mt19937_64(seed);
}

}  // namespace

UUID UUID::random() {
    // Every routed message needs an identity, so drawing one must not cost a system call.
    thread_local std::mt19937_64 generator = makeGenerator();
    const std::array<std::uint64_t, 2> halves{generator(), generator()};
    UUID result{std::bit_cast<std::array<std::uint8_t, 16>>(halves)};
    result.bytes[6] = static_cast<std::uint8_t>((result.bytes[6] & 0x0FU) | 0x40U);
    result.bytes[8] = static_cast<std::uint8_t>((result.bytes[8] & 0x3FU) | 0x80U);
    return result;
}

std::optional<UUID> UUID::parse(std::string_view text) {
    if (text.size() != kTextLength) {
        return std::nullopt;
    }
    UUID result;
    if (uuid_parse_range(text.data(), text.data() + text.size(), result.bytes.data()) != 0) {
        return std::nullopt;
    }
    return result;
}

std::string UUID::text() const {
    std::array<char, UUID_STR_LEN> buffer{};
    uuid_unparse_upper(bytes.data(), buffer.data());
    return {buffer.data(), kTextLength};
}

}  // namespace corvel

std::size_t std::hash<corvel::UUID>::operator()(const corvel::UUID& value) const noexcept {
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(value.bytes);
    return halves[0] ^ halves[1];
}
