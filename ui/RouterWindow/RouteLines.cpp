#include "ui/RouterWindow/RouteLines.hpp"

#include <algorithm>
#include <ranges>
#include <utility>

namespace corvel::ui {

RouteLines::RouteLines(std::vector<RouteLine> lines) : lines_(std::move(lines)) {
    std::ranges::stable_partition(lines_, [](const RouteLine& line) { return !line.isSelected; });
    for (std::size_t index = 0; index < lines_.size(); ++index) {
        byRoute_.emplace(lines_[index].routeID, index);
    }
}

const RouteLine* RouteLines::at(const QPointF& point) const {
    const auto topFirst = std::views::reverse(lines_);
    const auto found = std::ranges::find_if(topFirst, [&point](const RouteLine& line) { return line.catches(point); });
    return found == topFirst.end() ? nullptr : &*found;
}

}  // namespace corvel::ui
