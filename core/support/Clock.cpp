#include "core/support/Clock.hpp"

namespace corvel {

namespace {

class SystemClock final : public Clock {
public:
    [[nodiscard]] Instant now() const override { return std::chrono::system_clock::now(); }
};

}  // namespace

std::shared_ptr<const Clock> makeSystemClock() {
    return std::make_shared<SystemClock>();
}

}  // namespace corvel
