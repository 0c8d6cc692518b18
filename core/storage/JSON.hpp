#pragma once

#include "core/storage/DecodingError.hpp"
#include "core/support/UUID.hpp"

#include <boost/container/flat_map.hpp>
#include <nlohmann/json.hpp>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

/// What documents need beyond the JSON library: typed access, and errors that name the place.
namespace corvel::json {

/// The members of an object, in one sorted array: it is faster to fill, to write and to free than a tree. The library's
/// allocator is for a tree's pairs, whose key is constant; newer versions of Boost accept only that of their own pairs.
template <typename Key, typename Element, typename Less, typename Allocator>
using Members = boost::container::flat_map<
    Key, Element, Less, typename std::allocator_traits<Allocator>::template rebind_alloc<std::pair<Key, Element>>>;

using Value = nlohmann::basic_json<Members>;

/// Deeper nesting is refused: an array in an array in the top-level array has a depth of 3.
inline constexpr std::size_t kMaxDepth = 512;

/// A value is not what is expected. `decode` turns this into a `DecodingError`. `value` must be inside the text that
/// `decode` reads.
struct Mismatch {
    const Value* value;
    std::string problem;
};

[[noreturn]] inline void fail(const Value& value, std::string problem) {
    throw Mismatch{&value, std::move(problem)};
}

/// Each returns the value in its type. Throws `Mismatch` if it has another type.
[[nodiscard]] const std::string& string(const Value& value);
[[nodiscard]] bool boolean(const Value& value);
[[nodiscard]] UUID uuid(const Value& value);
[[nodiscard]] const Value::array_t& array(const Value& value);
[[nodiscard]] const Value::object_t& object(const Value& value);
[[nodiscard]] std::int64_t integer(const Value& value, std::int64_t minimum, std::int64_t maximum);

/// A number with an integral value, in any notation (1.0 and 1e3 are integral), within the range of the type.
template <std::integral Integer>
[[nodiscard]] Integer integer(const Value& value) {
    static_assert(sizeof(Integer) <= sizeof(std::int32_t), "a double holds every value exactly");
    return static_cast<Integer>(
        integer(value, std::numeric_limits<Integer>::min(), std::numeric_limits<Integer>::max()));
}

/// The object's value for the key; null if the key is missing or its value is null.
[[nodiscard]] const Value* optional(const Value& object, std::string_view key);

/// The object's value for a required key.
[[nodiscard]] const Value& required(const Value& object, std::string_view key);

/// Reads strict JSON (RFC 8259). One leading byte-order mark is skipped; the last of duplicate keys counts. Throws
/// `DecodingError` with the line of the first mistake.
[[nodiscard]] Value parse(std::string_view text);

/// The place of `value` inside `root`, "routeSets[0].name"; "top level" for `root` itself.
[[nodiscard]] std::string place(const Value& value, const Value& root);

/// The result of `read` for the text's top-level value. Throws `DecodingError`.
template <typename Read>
[[nodiscard]] auto decode(std::string_view text, Read read) {
    const Value root = parse(text);
    try {
        return read(root);
    } catch (const Mismatch& mismatch) {
        throw DecodingError(place(*mismatch.value, root) + ": " + mismatch.problem);
    }
}

/// The value as JSON text, indented, with the keys of objects in ascending byte order, slashes escaped, and no final
/// newline. Invalid UTF-8 becomes U+FFFD.
[[nodiscard]] std::string text(const Value& value);

}  // namespace corvel::json
