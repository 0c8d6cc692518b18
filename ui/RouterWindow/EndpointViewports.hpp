#pragma once

#include <optional>

namespace corvel::ui {

/// The vertical ranges of the window in which the columns show rows, in logical pixels from its top.
struct EndpointViewports {
    struct Range {
        double top = 0;
        double bottom = 0;

        bool operator==(const Range&) const = default;
    };

    /// No value before the column has a layout; all of its rows then count as visible.
    std::optional<Range> inputs;
    std::optional<Range> outputs;

    bool operator==(const EndpointViewports&) const = default;
};

}  // namespace corvel::ui
