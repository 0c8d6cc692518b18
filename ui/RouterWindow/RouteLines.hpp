#pragma once

#include "core/support/UUID.hpp"
#include "ui/RouterWindow/RouteLine.hpp"

#include <QPointF>

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace corvel::ui {

/// All lines of the stage in drawing order: list order, with the selected one last, on top.
class RouteLines {
public:
    RouteLines() = default;

    /// Takes the lines in list order.
    explicit RouteLines(std::vector<RouteLine> lines);

    bool operator==(const RouteLines& other) const { return lines_ == other.lines_; }

    [[nodiscard]] const std::vector<RouteLine>& inDrawingOrder() const { return lines_; }

    /// The line that a click at this point selects: the topmost, or null if there is none.
    [[nodiscard]] const RouteLine* at(const QPointF& point) const;

    /// Calls `action` for each line of the connection.
    template <typename Action>
    void forEachOf(const UUID& routeID, const Action& action) const {
        const auto [first, last] = byRoute_.equal_range(routeID);
        for (auto found = first; found != last; ++found) {
            action(lines_[found->second]);
        }
    }

private:
    std::vector<RouteLine> lines_;
    /// A document may have the same connection twice.
    std::unordered_multimap<UUID, std::size_t> byRoute_;
};

}  // namespace corvel::ui
