#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {

/// The user's settings: texts by key, kept from one start of the program to the next. Main thread only.
class Settings {
public:
    virtual ~Settings() = default;

    /// The text stored under the key, if there is one.
    [[nodiscard]] virtual std::optional<std::string> string(std::string_view key) const = 0;

    /// Stores a text, replacing the previous one.
    virtual void set(std::string_view key, std::string_view value) = 0;

    /// All keys with a value, in no particular order.
    [[nodiscard]] virtual std::vector<std::string> keys() const = 0;
};

}  // namespace corvel
