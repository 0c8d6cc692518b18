#pragma once

#include "core/storage/DecodingError.hpp"
#include "core/support/UUID.hpp"

#include <boost/container/flat_map.hpp>
#include <nlohmann/json.hpp>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

/// What reading and writing documents needs beyond the JSON library: typed access, and errors that name the place.
namespace corvel::json {

/// The members of an object lie in one sorted array, which takes less time to fill, to write and to free than a tree.
using Value = nlohmann::basic_json<boost::container::flat_map>;

/// Deeper nesting is refused: an array in an array in the top-level array has a depth of 3.
inline constexpr std::size_t kMaxDepth = 512;

/// A value is not what is expected. `decode` turns it into a `DecodingError`; so the value is one inside its text.
struct Mismatch {
    const Value* value;
    std::string problem;
};

[[noreturn]] inline void fail(const Value& value, std::string problem) {
    throw Mismatch{&value, std::move(problem)};
}

/// Each returns the value in its type, or throws `Mismatch` if it is of another one.
[[nodiscard]] const std::string& string(const Value& value);
[[nodiscard]] bool boolean(const Value& value);
[[nodiscard]] UUID uuid(const Value& value);
[[nodiscard]] const Value::array_t& array(const Value& value);
[[nodiscard]] const Value::object_t& object(const Value& value);
[[nodiscard]] std::int64_t integer(const Value& value, std::int64_t minimum, std::int64_t maximum);

/// A number whose value is integral, however it is written (1.0 and 1e3 are), and within the type's range.
template <std::integral Integer>
[[nodiscard]] Integer integer(const Value& value) {
    static_assert(sizeof(Integer) <= sizeof(std::int32_t), "a double holds every value exactly");
    return static_cast<Integer>(
        integer(value, std::numeric_limits<Integer>::min(), std::numeric_limits<Integer>::max()));
}

/// The object's value for the key; null where the key is missing or its value is null.
[[nodiscard]] const Value* optional(const Value& object, std::string_view key);

/// The same for a key that must be there.
[[nodiscard]] const Value& required(const Value& object, std::string_view key);

/// Reads strict JSON (RFC 8259). One leading byte-order mark is skipped; the last of duplicate keys counts. Throws
/// `DecodingError` with the line of the first mistake.
[[nodiscard]] Value parse(std::string_view text);

/// Where `value` stands inside `root`, "routeSets[0].name"; "top level" for `root` itself.
[[nodiscard]] std::string place(const Value& value, const Value& root);

/// What `read` makes of the text's top-level value. Throws `DecodingError`.
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
/// newline. Sequences that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string text(const Value& value);

}  // namespace corvel::json
