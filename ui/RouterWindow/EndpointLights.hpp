#pragma once

#include "core/engine/EndpointTraffic.hpp"
#include "core/support/Clock.hpp"

#include <QObject>

#include <chrono>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

namespace corvel::ui {

class EndpointColumn;

/// The lights on the rows of endpoints that have just sent or received a message, connected or not.
class EndpointLights final : public QObject {
    Q_OBJECT

public:
    /// Returns the endpoints that have sent or received a message since the last call.
    using TrafficSource = std::function<ActiveEndpoints()>;

    EndpointLights(EndpointColumn& inputs, EndpointColumn& outputs, TrafficSource takeTraffic, QObject* parent);

    /// Reads new traffic and shows the lights of this instant.
    void show(Instant now);

    /// The brightness of a light, 0 to 1, at this time after the latest message.
    [[nodiscard]] static double level(std::chrono::nanoseconds age);

private:
    /// The time of the latest message of each endpoint with a light.
    using LitEndpoints = std::unordered_map<std::int32_t, Instant>;

    static void show(LitEndpoints& lit, const std::vector<std::int32_t>& active, const EndpointColumn& column,
                     Instant now);

    EndpointColumn& inputs_;
    EndpointColumn& outputs_;
    const TrafficSource takeTraffic_;
    LitEndpoints litInputs_;
    LitEndpoints litOutputs_;
};

}  // namespace corvel::ui
