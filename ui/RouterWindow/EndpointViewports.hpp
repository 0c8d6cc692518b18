#pragma once

#include <optional>

namespace corvel::ui {

/// The heights of the window between which the columns show rows, in logical pixels from its top.
struct EndpointViewports {
    struct Range {
        double top = 0;
        double bottom = 0;

        bool operator==(const Range&) const = default;
    };

    /// None where the column is not laid out: then all of its rows count as seen.
    std::optional<Range> inputs;
    std::optional<Range> outputs;

    bool operator==(const EndpointViewports&) const = default;
};

}  // namespace corvel::ui
