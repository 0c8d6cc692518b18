#pragma once

#include "app/Observers.hpp"

#include <utility>

namespace corvel {

/// A property that tells its observers before it changes: an observer that reads it inside the call sees the old value.
///
/// It tells them at every change, even if the new value equals the old one, so that no change costs a comparison.
template <typename Value, typename Property>
class Published {
public:
    /// The observers must outlive the property.
    Published(Observers<Property>& observers, Property property, Value initialValue)
        : observers_(observers), property_(property), value_(std::move(initialValue)) {}

    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;
    Published(Published&&) = delete;
    Published& operator=(Published&&) = delete;
    ~Published() = default;

    /// The current value. The reference stays valid; the value behind it changes with the property.
    [[nodiscard]] const Value& value() const { return value_; }

    /// Tells the observers, then takes the new value.
    void set(Value value) {
        observers_.notify(property_);
        value_ = std::move(value);
    }

    /// Tells the observers, then lets `change` edit the value in place. Returns what `change` returns.
    template <typename Change>
    decltype(auto) edit(Change&& change) {
        observers_.notify(property_);
        return std::forward<Change>(change)(value_);
    }

private:
    Observers<Property>& observers_;
    const Property property_;
    Value value_;
};

}  // namespace corvel
