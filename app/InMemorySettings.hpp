#pragma once

#include "app/Settings.hpp"

#include <functional>
#include <map>

namespace corvel {

/// Settings that are lost with the object, for commands and screenshots, which must not change the user's.
class InMemorySettings final : public Settings {
public:
    [[nodiscard]] std::optional<std::string> string(std::string_view key) const override;
    void set(std::string_view key, std::string_view value) override;
    [[nodiscard]] std::vector<std::string> keys() const override;

private:
    std::map<std::string, std::string, std::less<>> values_;
};

}  // namespace corvel
