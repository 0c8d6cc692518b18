#pragma once

#include "core/support/QueueMutex.hpp"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace corvel {

/// Unique IDs of the endpoints that have sent and of those that have received a message.
struct ActiveEndpoints {
    std::vector<std::int32_t> sources;
    std::vector<std::int32_t> destinations;

    bool operator==(const ActiveEndpoints&) const = default;
};

/// Records for each endpoint whether it had a message since the marks were last taken.
///
/// Setting a mark takes no lock, and writes to memory only if the mark is not set. The routing thread replaces the
/// endpoints and sets their marks; any thread may take them.
class EndpointTraffic {
public:
    using Mark = std::atomic<bool>;

    static void note(Mark& mark) {
        if (!mark.load(std::memory_order_relaxed)) {
            mark.store(true, std::memory_order_relaxed);
        }
    }

    /// Tracks these endpoints from now on. Marks that were not taken are dropped.
    void replace(std::span<const std::int32_t> sources, std::span<const std::int32_t> destinations);

    /// The mark of the source or destination at this index of the `replace` arguments. Valid until the next `replace`.
    [[nodiscard]] Mark& source(std::size_t index) { return table_->sources[index].mark; }
    [[nodiscard]] Mark& destination(std::size_t index) { return table_->destinations[index].mark; }

    /// The marked endpoints, in order. Clears their marks.
    [[nodiscard]] ActiveEndpoints take();

private:
    struct Entry {
        std::int32_t id = 0;
        Mark mark = false;
    };
    struct Table {
        std::vector<Entry> sources;
        std::vector<Entry> destinations;
    };

    QueueMutex mutex_;
    std::shared_ptr<Table> table_ = std::make_shared<Table>();
};

}  // namespace corvel
