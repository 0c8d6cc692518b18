#include "ui/RouterWindow/EndpointLights.hpp"

#include "ui/RouterWindow/EndpointColumn.hpp"
#include "ui/RouterWindow/EndpointRow.hpp"

#include <algorithm>
#include <chrono>

namespace corvel::ui {

namespace {

using namespace std::chrono_literals;

/// Long enough to be seen from the corner of an eye.
constexpr std::chrono::nanoseconds kFull = 120ms;
constexpr std::chrono::nanoseconds kFade = 380ms;

}  // namespace

EndpointLights::EndpointLights(EndpointColumn& inputs, EndpointColumn& outputs, QObject* parent)
    : QObject(parent), inputs_(inputs), outputs_(outputs) {}

double EndpointLights::level(std::chrono::nanoseconds age) {
    const double faded =
        static_cast<double>((age - kFull).count()) / static_cast<double>(std::chrono::nanoseconds(kFade).count());
    return std::clamp(1 - faded, 0.0, 1.0);
}

void EndpointLights::show(Instant now) {
    if (takeTraffic_) {
        for (const std::int32_t id : takeTraffic_()) {
            lit_[id] = now;
        }
    }
    std::erase_if(lit_, [this, now](const auto& entry) {
        const double present = level(now - entry.second);
        light(entry.first, present);
        return present == 0;
    });
}

void EndpointLights::light(std::int32_t endpointID, double level) {
    for (const EndpointColumn* const column : {&inputs_, &outputs_}) {
        if (EndpointRow* const row = column->row(endpointID); row != nullptr) {
            row->setLight(level);
        }
    }
}

}  // namespace corvel::ui
