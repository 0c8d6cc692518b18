#include "core/engine/EndpointTraffic.hpp"

#include <mutex>

namespace corvel {

void EndpointTraffic::replace(std::span<const std::int32_t> sources, std::span<const std::int32_t> destinations) {
    const auto entries = [](std::span<const std::int32_t> ids) {
        std::vector<Entry> made(ids.size());
        for (std::size_t index = 0; index < ids.size(); ++index) {
            made[index].id = ids[index];
        }
        return made;
    };
    auto table = std::make_shared<Table>(entries(sources), entries(destinations));
    const std::lock_guard lock(mutex_);
    table_.swap(table);
}

ActiveEndpoints EndpointTraffic::take() {
    std::shared_ptr<Table> table;
    {
        const std::lock_guard lock(mutex_);
        table = table_;
    }
    const auto takeMarked = [](std::vector<Entry>& entries) {
        std::vector<std::int32_t> ids;
        for (Entry& entry : entries) {
            if (entry.mark.load(std::memory_order_relaxed) && entry.mark.exchange(false, std::memory_order_relaxed)) {
                ids.push_back(entry.id);
            }
        }
        return ids;
    };
    return {.sources = takeMarked(table->sources), .destinations = takeMarked(table->destinations)};
}

}  // namespace corvel
