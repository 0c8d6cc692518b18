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

/// The lights on the rows of endpoints that have just sent or been sent a message, connected or not.
class EndpointLights final : public QObject {
    Q_OBJECT

public:
    /// Gives the endpoints that sent or were sent something since it was last called.
    using TrafficSource = std::function<ActiveEndpoints()>;

    EndpointLights(EndpointColumn& inputs, EndpointColumn& outputs, TrafficSource takeTraffic, QObject* parent);

    /// Asks for new traffic and shows the lights of this instant.
    void show(Instant now);

    /// How bright a light is, from 0 to 1, so long after the latest message.
    [[nodiscard]] static double level(std::chrono::nanoseconds age);

private:
    /// When the endpoints with a light had their latest message.
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
