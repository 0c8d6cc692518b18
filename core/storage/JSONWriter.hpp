#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {

/// Writes JSON value by value in the one form that documents have on disk: two blanks of indentation, `"key" : value`,
/// `{}` and `[]` where nothing is inside, line feeds, no final newline.
///
/// The caller names the keys of an object in ascending byte order, so that equal values give equal bytes.
class JSONWriter {
public:
    void beginObject() { begin('{'); }
    void endObject() { end('}'); }
    void beginArray() { begin('['); }
    void endArray() { end(']'); }

    /// Starts a member of the innermost object; its value is written next. Keys are the program's own ASCII names.
    void key(std::string_view name);

    /// A text, escaped; sequences that are not UTF-8 become U+FFFD.
    void string(std::string_view text);
    void integer(std::int64_t number);
    void boolean(bool truth);
    void null();

    /// Hands over everything written; the writer is empty afterwards.
    [[nodiscard]] std::string take();

private:
    /// An object or array that is still open.
    struct Level {
        bool isEmpty = true;
        std::string lastKey;
    };

    void begin(char bracket);
    void end(char bracket);
    void beginValue();
    void beginLine();
    void appendEscaped(std::string_view text);

    std::string json_;
    std::vector<Level> levels_;
    bool isAfterKey_ = false;
};

}  // namespace corvel
