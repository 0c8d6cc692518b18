#include "ui/RouterWindow/EndpointLights.hpp"

#include "ui/RouterWindow/EndpointColumn.hpp"
#include "ui/RouterWindow/EndpointRow.hpp"

#include <algorithm>
#include <utility>

namespace corvel::ui {

namespace {

using namespace std::chrono_literals;

/// Long enough to be noticed from the corner of an eye.
constexpr std::chrono::nanoseconds kFull = 120ms;
constexpr std::chrono::nanoseconds kFade = 380ms;

}  // namespace

EndpointLights::EndpointLights(EndpointColumn& inputs, EndpointColumn& outputs, TrafficSource takeTraffic,
                               QObject* parent)
    : QObject(parent), inputs_(inputs), outputs_(outputs), takeTraffic_(std::move(takeTraffic)) {}

double EndpointLights::level(std::chrono::nanoseconds age) {
    const double faded =
        static_cast<double>((age - kFull).count()) / static_cast<double>(std::chrono::nanoseconds(kFade).count());
    return std::clamp(1 - faded, 0.0, 1.0);
}

void EndpointLights::show(Instant now) {
    const ActiveEndpoints active = takeTraffic_();
    show(litInputs_, active.sources, inputs_, now);
    show(litOutputs_, active.destinations, outputs_, now);
}

void EndpointLights::show(LitEndpoints& lit, const std::vector<std::int32_t>& active, const EndpointColumn& column,
                          Instant now) {
    for (const std::int32_t id : active) {
        lit[id] = now;
    }
    std::erase_if(lit, [&column, now](const auto& entry) {
        const double present = level(now - entry.second);
        if (EndpointRow* const row = column.row(entry.first); row != nullptr) {
            row->setLight(present);
        }
        return present == 0;
    });
}

}  // namespace corvel::ui
