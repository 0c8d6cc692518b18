#pragma once

#include "core/support/Clock.hpp"

#include <QObject>

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

namespace corvel::ui {

class EndpointColumn;

/// The lights on the rows of endpoints that have just sent or been sent a message, connected or not.
class EndpointLights final : public QObject {
    Q_OBJECT

public:
    /// Gives the unique IDs of the endpoints that sent or were sent something since it was last called. Asked at every
    /// tick of the animation.
    using TrafficSource = std::function<std::vector<std::int32_t>()>;

    EndpointLights(EndpointColumn& inputs, EndpointColumn& outputs, QObject* parent);

    void setTrafficSource(TrafficSource takeTraffic) { takeTraffic_ = std::move(takeTraffic); }

    /// Shows the lights of this instant.
    void show(Instant now);

    /// How bright a light is, from 0 to 1, so long after the latest message.
    [[nodiscard]] static double level(std::chrono::nanoseconds age);

private:
    void light(std::int32_t endpointID, double level);

    EndpointColumn& inputs_;
    EndpointColumn& outputs_;
    TrafficSource takeTraffic_;
    /// When the endpoints with a light had their latest message.
    std::unordered_map<std::int32_t, Instant> lit_;
};

}  // namespace corvel::ui
