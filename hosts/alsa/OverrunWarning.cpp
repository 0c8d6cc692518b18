#include "hosts/alsa/OverrunWarning.hpp"

#include <utility>

namespace corvel::hosts {

bool OverrunWarning::noteOverrun(SteadyTime now) {
    const std::optional<SteadyTime> before = std::exchange(lastOverrun_, now);
    const bool isRepeated = before && now - *before <= kInterval;
    const bool isDue = isRepeated && (!lastWarning_ || now - *lastWarning_ >= kInterval);
    if (isDue) {
        lastWarning_ = now;
    }
    return isDue;
}

}  // namespace corvel::hosts
