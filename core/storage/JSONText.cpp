#include "core/storage/JSONText.hpp"

#include "core/storage/DecodingError.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <utility>

namespace corvel {

namespace {

/// Gives the calling thread the "C" locale for numbers: the parser converts them by the C library, which in some
/// locales knows another decimal point, or one of several bytes.
class PlainNumbers {
public:
    PlainNumbers() : plain_(::newlocale(LC_NUMERIC_MASK, "C", nullptr)) {
        if (plain_ != nullptr) {
            previous_ = ::uselocale(plain_);
        }
    }
    ~PlainNumbers() {
        if (plain_ != nullptr) {
            ::uselocale(previous_);
            ::freelocale(plain_);
        }
    }
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;

private:
    locale_t plain_;
    locale_t previous_ = nullptr;
};

[[noreturn]] void failAtPosition(std::string_view text, std::size_t position, std::string_view problem) {
    const std::string_view before = text.substr(0, position);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    throw DecodingError("line " + std::to_string(line) + ": " + std::string(problem));
}

}  // namespace

/// Receives the parser's events and lays the values out.
class JSONText::Builder {
public:
    explicit Builder(JSONText& target) : text_(target) {}

    // The parser calls them by these names.
    // NOLINTBEGIN(readability-identifier-naming)
    bool null() { return add(std::monostate{}); }
    bool boolean(bool value) { return add(value); }
    bool number_integer(std::int64_t value) { return add(value); }
    bool number_unsigned(std::uint64_t value) {
        return std::in_range<std::int64_t>(value) ? add(static_cast<std::int64_t>(value))
                                                  : add(static_cast<double>(value));
    }
    bool number_float(double value, const std::string& /*digits*/) { return add(value); }
    bool string(const std::string& value) { return add(store(value)); }
    static bool binary(const nlohmann::json::binary_t& /*bytes*/) { return false; }

    bool start_object(std::size_t /*count*/) { return open(Object{}); }
    bool key(const std::string& name) {
        key_ = store(name);
        return true;
    }
    bool end_object() { return close(); }
    bool start_array(std::size_t /*count*/) { return open(Array{}); }
    bool end_array() { return close(); }

    bool parse_error(std::size_t position, const std::string& /*token*/, const nlohmann::json::exception& /*error*/) {
        errorPosition_ = position;
        return false;
    }
    // NOLINTEND(readability-identifier-naming)

    [[nodiscard]] bool isTooDeep() const { return depth_ > kMaxDepth; }
    /// Where the parser gave up, in bytes.
    [[nodiscard]] std::size_t errorPosition() const { return errorPosition_; }

private:
    template <typename Value>
    bool add(Value value) {
        const std::size_t index = text_.nodes_.size();
        text_.nodes_.push_back({value, key_, container_, index + 1});
        return true;
    }

    template <typename Container>
    bool open(Container kind) {
        if (++depth_ > kMaxDepth) {
            return false;
        }
        add(kind);
        container_ = text_.nodes_.size() - 1;
        return true;
    }

    bool close() {
        --depth_;
        Node& container = text_.nodes_[container_];
        container.end = text_.nodes_.size();
        container_ = container.parent;
        return true;
    }

    Span store(const std::string& value) {
        const Span span{text_.characters_.size(), value.size()};
        text_.characters_ += value;
        return span;
    }

    JSONText& text_;
    Span key_;
    std::size_t container_ = 0;
    std::size_t depth_ = 0;
    std::size_t errorPosition_ = 0;
};

JSONText::JSONText(std::string_view text) {
    // The parser takes a zero byte for the end of the text and would let anything stand behind it.
    if (const auto zero = text.find('\0'); zero != std::string_view::npos) {
        failAtPosition(text, zero, "not valid JSON");
    }
    const PlainNumbers plainNumbers;
    Builder builder(*this);
    if (!nlohmann::json::sax_parse(text.begin(), text.end(), &builder)) {
        if (builder.isTooDeep()) {
            throw DecodingError("nested deeper than " + std::to_string(kMaxDepth) + " levels");
        }
        failAtPosition(text, builder.errorPosition(), "not valid JSON");
    }
}

JSONValue JSONText::root() const {
    return {*this, 0};
}

std::string JSONValue::string() const {
    if (const auto* span = std::get_if<JSONText::Span>(&node().value)) {
        return std::string(text_->characters(*span));
    }
    fail("expected a text");
}

bool JSONValue::boolean() const {
    if (const bool* truth = std::get_if<bool>(&node().value)) {
        return *truth;
    }
    fail("expected true or false");
}

UUID JSONValue::uuid() const {
    if (const auto* span = std::get_if<JSONText::Span>(&node().value)) {
        if (const auto id = UUID::parse(text_->characters(*span))) {
            return *id;
        }
    }
    fail("expected a UUID");
}

std::vector<JSONValue> JSONValue::elements() const {
    if (!std::holds_alternative<JSONText::Array>(node().value)) {
        fail("expected an array");
    }
    std::vector<JSONValue> elements;
    for (std::size_t child = index_ + 1; child < node().end; child = text_->nodes_[child].end) {
        elements.push_back({*text_, child});
    }
    return elements;
}

void JSONValue::requireObject() const {
    if (!std::holds_alternative<JSONText::Object>(node().value)) {
        fail("expected an object");
    }
}

std::optional<JSONValue> JSONValue::optional(std::string_view key) const {
    const auto found = member(key);
    return found && std::holds_alternative<std::monostate>(found->node().value) ? std::nullopt : found;
}

JSONValue JSONValue::required(std::string_view key) const {
    if (const auto found = optional(key)) {
        return *found;
    }
    fail("the required key \"" + std::string(key) + "\" is missing");
}

void JSONValue::fail(std::string_view problem) const {
    const std::string place = path();
    throw DecodingError((place.empty() ? "top level" : place) + ": " + std::string(problem));
}

std::optional<JSONValue> JSONValue::member(std::string_view key) const {
    requireObject();
    std::optional<JSONValue> found;
    for (std::size_t child = index_ + 1; child < node().end; child = text_->nodes_[child].end) {
        if (text_->characters(text_->nodes_[child].key) == key) {
            found = JSONValue(*text_, child);
        }
    }
    return found;
}

std::int64_t JSONValue::integerInRange(std::int64_t least, std::int64_t greatest) const {
    if (const auto* integer = std::get_if<std::int64_t>(&node().value)) {
        if (*integer >= least && *integer <= greatest) {
            return *integer;
        }
    } else if (const auto* real = std::get_if<double>(&node().value)) {
        if (*real >= static_cast<double>(least) && *real <= static_cast<double>(greatest) &&
            std::trunc(*real) == *real) {
            return static_cast<std::int64_t>(*real);
        }
    }
    fail("expected an integer from " + std::to_string(least) + " to " + std::to_string(greatest));
}

std::string JSONValue::path() const {
    if (index_ == 0) {
        return {};
    }
    const JSONValue container(*text_, node().parent);
    const std::string place = container.path();
    if (std::holds_alternative<JSONText::Object>(container.node().value)) {
        return (place.empty() ? "" : place + ".") + std::string(text_->characters(node().key));
    }
    std::size_t position = 0;
    for (std::size_t child = container.index_ + 1; child < index_; child = text_->nodes_[child].end) {
        ++position;
    }
    return place + "[" + std::to_string(position) + "]";
}

}  // namespace corvel
