#include "core/storage/JSON.hpp"

#include <algorithm>
#include <clocale>
#include <cmath>
#include <optional>
#include <utility>

namespace corvel::json {

namespace {

/// Sets the "C" locale for numbers on the calling thread. The library converts fractions by the C library, and aborts
/// if the locale's decimal point has several bytes.
class PlainNumbers {
public:
    PlainNumbers() : previous_(::uselocale(plain())) {}
    ~PlainNumbers() { ::uselocale(previous_); }
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;

private:
    static locale_t plain() {
        static const locale_t locale = ::newlocale(LC_NUMERIC_MASK, "C", nullptr);
        return locale;
    }

    locale_t previous_;
};

[[noreturn]] void failAtPosition(std::string_view text, std::size_t position) {
    const std::string_view before = text.substr(0, position);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    throw DecodingError("line " + std::to_string(line) + ": not valid JSON");
}

bool refuseDeepNesting(int depth, Value::parse_event_t event, const Value& /*value*/) {
    const bool isStart = event == Value::parse_event_t::array_start || event == Value::parse_event_t::object_start;
    if (isStart && std::cmp_greater_equal(depth, kMaxDepth)) {
        throw DecodingError("nested deeper than " + std::to_string(kMaxDepth) + " levels");
    }
    return true;
}

/// The keys and indices from `root` to `value`, ".routeSets[0]"; no value if `value` is not inside `root`.
std::optional<std::string> path(const Value& value, const Value& root) {
    if (&value == &root) {
        return "";
    }
    for (const auto& [key, child] : root.items()) {
        if (const auto rest = child.is_structured() || &child == &value ? path(value, child) : std::nullopt) {
            return (root.is_array() ? "[" + key + "]" : "." + key) + *rest;
        }
    }
    return std::nullopt;
}

}  // namespace

const std::string& string(const Value& value) {
    if (!value.is_string()) {
        fail(value, "expected a text");
    }
    return value.get_ref<const std::string&>();
}

bool boolean(const Value& value) {
    if (!value.is_boolean()) {
        fail(value, "expected true or false");
    }
    return value.get<bool>();
}

UUID uuid(const Value& value) {
    const auto id = value.is_string() ? UUID::parse(string(value)) : std::nullopt;
    if (!id) {
        fail(value, "expected a UUID");
    }
    return *id;
}

const Value::array_t& array(const Value& value) {
    if (!value.is_array()) {
        fail(value, "expected an array");
    }
    return value.get_ref<const Value::array_t&>();
}

const Value::object_t& object(const Value& value) {
    if (!value.is_object()) {
        fail(value, "expected an object");
    }
    return value.get_ref<const Value::object_t&>();
}

std::int64_t integer(const Value& value, std::int64_t minimum, std::int64_t maximum) {
    if (value.is_number()) {
        const auto number = value.get<double>();
        if (number >= static_cast<double>(minimum) && number <= static_cast<double>(maximum) &&
            std::trunc(number) == number) {
            return static_cast<std::int64_t>(number);
        }
    }
    fail(value, "expected an integer from " + std::to_string(minimum) + " to " + std::to_string(maximum));
}

const Value* optional(const Value& object, std::string_view key) {
    const auto& members = json::object(object);
    const auto found = members.find(key);
    return found == members.end() || found->second.is_null() ? nullptr : &found->second;
}

const Value& required(const Value& object, std::string_view key) {
    const Value* const value = optional(object, key);
    if (value == nullptr) {
        fail(object, "the required key \"" + std::string(key) + "\" is missing");
    }
    return *value;
}

Value parse(std::string_view text) {
    // The library takes a zero byte for the end of the text and would accept anything after it.
    if (const auto zero = text.find('\0'); zero != std::string_view::npos) {
        failAtPosition(text, zero);
    }
    const PlainNumbers plainNumbers;
    try {
        return Value::parse(text.begin(), text.end(), refuseDeepNesting);
    } catch (const Value::parse_error& error) {
        failAtPosition(text, error.byte);
    } catch (const Value::out_of_range&) {
        throw DecodingError("a number is too large");
    }
}

std::string place(const Value& value, const Value& root) {
    const std::string found = path(value, root).value_or("");
    return found.empty() ? "top level" : found.substr(found.front() == '.' ? 1 : 0);
}

std::string text(const Value& value) {
    const std::string unescaped = value.dump(2, ' ', false, Value::error_handler_t::replace);
    std::string text;
    text.reserve(unescaped.size());
    std::size_t start = 0;
    // All slashes are in strings, so all can be escaped.
    for (auto slash = unescaped.find('/'); slash != std::string::npos; slash = unescaped.find('/', start + 1)) {
        text.append(unescaped, start, slash - start) += '\\';
        start = slash;
    }
    return text.append(unescaped, start);
}

}  // namespace corvel::json
