#pragma once

#include "core/support/UUID.hpp"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace corvel {

class JSONValue;

/// A JSON text, read whole.
///
/// Strict RFC 8259: invalid UTF-8, lone surrogates, comments, trailing commas and anything behind the top-level value
/// are refused, as is nesting deeper than 512; one leading byte-order mark is skipped. Time and memory are linear in
/// the text's length, and no text can exhaust the stack.
class JSONText {
public:
    static constexpr std::size_t kMaxDepth = 512;

    /// Throws `DecodingError` with the line of the first mistake.
    explicit JSONText(std::string_view text);

    JSONText(const JSONText&) = delete;
    JSONText& operator=(const JSONText&) = delete;

    /// The top-level value. It and all values inside are valid as long as this text.
    [[nodiscard]] JSONValue root() const;

private:
    friend class JSONValue;
    class Builder;

    /// Where a text stands in `characters_`.
    struct Span {
        std::size_t offset = 0;
        std::size_t length = 0;
    };
    struct Array {};
    struct Object {};

    /// A value. The values stand in the order of the text, each container directly ahead of what is inside it.
    struct Node {
        std::variant<std::monostate, bool, std::int64_t, double, Span, Array, Object> value;
        /// Of a member of an object only.
        Span key;
        /// Index of the container; of itself for the top-level value.
        std::size_t parent = 0;
        /// Index one past the last value inside this one.
        std::size_t end = 0;
    };

    [[nodiscard]] std::string_view characters(Span span) const {
        return std::string_view(characters_).substr(span.offset, span.length);
    }

    std::vector<Node> nodes_;
    std::string characters_;
};

/// One value of a JSON text, with typed access whose errors name the place. A handle: cheap to copy.
class JSONValue {
public:
    /// Each returns the value in its type, or throws `DecodingError` if it is of another one.
    [[nodiscard]] std::string string() const;
    [[nodiscard]] bool boolean() const;
    [[nodiscard]] UUID uuid() const;

    /// A number whose value is integral, however it is written (1.0 and 1e3 are), and within the type's range.
    template <std::integral Integer>
    [[nodiscard]] Integer integer() const {
        static_assert(sizeof(Integer) <= sizeof(std::int32_t), "a double holds every value exactly");
        return static_cast<Integer>(
            integerInRange(std::numeric_limits<Integer>::min(), std::numeric_limits<Integer>::max()));
    }

    /// The values of an array in order.
    [[nodiscard]] std::vector<JSONValue> elements() const;

    /// Refuses everything but an object.
    void requireObject() const;

    /// Whether the object has the key at all, be its value null.
    [[nodiscard]] bool hasKey(std::string_view key) const { return member(key).has_value(); }

    /// The object's value for the key; null counts as missing, and the last of duplicate keys is taken.
    [[nodiscard]] std::optional<JSONValue> optional(std::string_view key) const;

    /// The same for a key that must be there.
    [[nodiscard]] JSONValue required(std::string_view key) const;

    /// Throws `DecodingError`: this value's place, ": " and the problem.
    [[noreturn]] void fail(std::string_view problem) const;

private:
    friend class JSONText;

    JSONValue(const JSONText& text, std::size_t index) : text_(&text), index_(index) {}

    [[nodiscard]] const JSONText::Node& node() const { return text_->nodes_[index_]; }
    [[nodiscard]] std::optional<JSONValue> member(std::string_view key) const;
    [[nodiscard]] std::int64_t integerInRange(std::int64_t least, std::int64_t greatest) const;
    /// "routeSets[0].name"; empty for the top-level value.
    [[nodiscard]] std::string path() const;

    const JSONText* text_;
    std::size_t index_;
};

}  // namespace corvel
