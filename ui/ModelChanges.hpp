#pragma once

#include "app/MIDIRouterViewModel.hpp"

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <initializer_list>

namespace corvel::ui {

/// The properties of the model that may have changed since a view last read them.
class ModelChanges {
public:
    using Property = MIDIRouterViewModel::Property;

    [[nodiscard]] static ModelChanges all() {
        ModelChanges changes;
        changes.properties_.set();
        return changes;
    }

    void insert(Property property) { properties_.set(static_cast<std::size_t>(property)); }

    /// Whether one of these properties is among them.
    [[nodiscard]] bool containAny(std::initializer_list<Property> properties) const {
        return std::ranges::any_of(
            properties, [this](Property property) { return properties_.test(static_cast<std::size_t>(property)); });
    }

private:
    static constexpr std::size_t kPropertyCount = static_cast<std::size_t>(Property::statusMessage) + 1;

    std::bitset<kPropertyCount> properties_;
};

}  // namespace corvel::ui
