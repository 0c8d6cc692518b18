#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace corvel::tests {

/// Sets an environment variable until the end of the scope; removes it if there is no value.
class ScopedEnvironment {
public:
    ScopedEnvironment(std::string name, const std::optional<std::string>& value) : name_(std::move(name)) {
        if (const char* current = std::getenv(name_.c_str()); current != nullptr) {
            previous_ = current;
        }
        apply(value);
    }
    ~ScopedEnvironment() { apply(previous_); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    void apply(const std::optional<std::string>& value) const {
        if (value) {
            ::setenv(name_.c_str(), value->c_str(), 1);
        } else {
            ::unsetenv(name_.c_str());
        }
    }

    std::string name_;
    std::optional<std::string> previous_;
};

}  // namespace corvel::tests
