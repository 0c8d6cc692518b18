#include "app/EndpointList.hpp"

#include <algorithm>
#include <functional>
#include <numeric>
#include <tuple>
#include <utility>

namespace corvel {

namespace {

std::vector<std::size_t> positions(std::size_t count) {
    std::vector<std::size_t> positions(count);
    std::iota(positions.begin(), positions.end(), std::size_t{0});
    return positions;
}

}  // namespace

EndpointList::EndpointList(std::vector<MIDIEndpointModel> endpoints)
    : endpoints_(std::move(endpoints)), byID_(positions(endpoints_.size())), byName_(positions(endpoints_.size())) {
    std::ranges::stable_sort(byID_, std::ranges::less{},
                             [this](std::size_t position) { return endpoints_[position].id; });
    std::ranges::sort(byName_, std::ranges::less{}, [this](std::size_t position) {
        return std::tie(endpoints_[position].displayName, endpoints_[position].manufacturer);
    });
}

const MIDIEndpointModel* EndpointList::find(std::int32_t id) const {
    const auto found = std::ranges::lower_bound(byID_, id, std::ranges::less{},
                                                [this](std::size_t position) { return endpoints_[position].id; });
    if (found == byID_.end() || endpoints_[*found].id != id) {
        return nullptr;
    }
    return &endpoints_[*found];
}

const MIDIEndpointModel* EndpointList::resolve(const std::optional<std::string>& name,
                                               const std::optional<std::string>& manufacturer) const {
    if (!name) {
        return nullptr;
    }
    auto candidates = std::ranges::equal_range(
        byName_, *name, std::ranges::less{},
        [this](std::size_t position) -> const std::string& { return endpoints_[position].displayName; });
    if (manufacturer) {
        candidates = std::ranges::equal_range(candidates, manufacturer, std::ranges::less{},
                                              [this](std::size_t position) -> const std::optional<std::string>& {
                                                  return endpoints_[position].manufacturer;
                                              });
    }
    return candidates.size() == 1 ? &endpoints_[candidates.front()] : nullptr;
}

}  // namespace corvel
