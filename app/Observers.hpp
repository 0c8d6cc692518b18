#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace corvel {

/// Keeps an observer subscribed while this object exists. May outlive the observed object.
class Observation {
public:
    Observation() = default;
    explicit Observation(std::shared_ptr<const void> observer) : observer_(std::move(observer)) {}

    Observation(Observation&&) noexcept = default;
    Observation& operator=(Observation&&) noexcept = default;
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;
    ~Observation() = default;

    /// Ends the subscription now; the observer is not called again.
    void end() { observer_.reset(); }

private:
    std::shared_ptr<const void> observer_;
};

/// The observers of an object. Each receives a `Subject`: the property that changes, or the event.
///
/// One thread only. An observer may end any subscription, even its own; cause further notifications; and add observers,
/// which are called from the next notification on.
template <typename Subject>
class Observers {
public:
    using Observer = std::function<void(Subject)>;

    Observers() = default;
    Observers(const Observers&) = delete;
    Observers& operator=(const Observers&) = delete;
    Observers(Observers&&) = delete;
    Observers& operator=(Observers&&) = delete;
    ~Observers() = default;

    /// Subscribes an observer until the result is destroyed. Observers are called in the order of
    /// subscription and must not throw.
    [[nodiscard]] Observation add(Observer observer) {
        auto shared = std::make_shared<const Observer>(std::move(observer));
        if (depth_ == 0) {
            std::erase_if(observers_, [](const std::weak_ptr<const Observer>& ended) { return ended.expired(); });
        }
        observers_.push_back(shared);
        return Observation(std::move(shared));
    }

    /// Calls every observer. Allocates nothing.
    void notify(Subject subject) {
        ++depth_;
        // Index and count instead of iterators, because an observer may add others and so move the list.
        for (std::size_t index = 0, count = observers_.size(); index < count; ++index) {
            // Keeps the observer alive if it ends its own subscription.
            if (const std::shared_ptr<const Observer> observer = observers_[index].lock()) {
                (*observer)(subject);
            }
        }
        --depth_;
    }

private:
    std::vector<std::weak_ptr<const Observer>> observers_;
    /// The number of nested notifications; entries are removed from the list only when there are none.
    std::size_t depth_ = 0;
};

}  // namespace corvel
