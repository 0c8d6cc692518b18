#include "ui/RouterWindow/RouteLine.hpp"

#include <algorithm>
#include <cmath>

namespace corvel::ui {

namespace {

constexpr double kSpreadMargin = 35;
constexpr double kMinPull = 80;
constexpr double kPullShare = 0.22;
/// Enough for an accuracy of a fraction of a pixel on any stage.
constexpr int kHitSegments = 64;

double ratio(std::chrono::nanoseconds part, std::chrono::nanoseconds whole) {
    return static_cast<double>(part.count()) / static_cast<double>(whole.count());
}

double squaredLength(const QPointF& vector) {
    return QPointF::dotProduct(vector, vector);
}

double squaredDistance(const QPointF& point, const QPointF& from, const QPointF& to) {
    const QPointF along = to - from;
    const double length = squaredLength(along);
    const double position = length > 0 ? std::clamp(QPointF::dotProduct(point - from, along) / length, 0.0, 1.0) : 0.0;
    return squaredLength(point - (from + along * position));
}

struct Opacity {
    float line = 0;
    float mark = 0;
};

Opacity opacityOf(RouteAvailability availability) {
    switch (availability) {
        case RouteAvailability::active:
            return {0.86F, 1};
        case RouteAvailability::paused:
            return {0.42F, 0.65F};
        case RouteAvailability::missingInput:
        case RouteAvailability::missingOutput:
        case RouteAvailability::missingEndpoints:
            break;
    }
    return {0.85F, 0.8F};
}

QColor withOpacity(QColor color, float opacity) {
    color.setAlphaF(opacity);
    return color;
}

}  // namespace

double RouteLine::spreadY(std::size_t position, std::size_t count, double stageHeight) {
    const auto place = static_cast<double>(position + 1);
    const auto gaps = static_cast<double>(std::max<std::size_t>(count, 1) + 1);
    return kSpreadMargin + place * std::max(stageHeight - 2 * kSpreadMargin, 1.0) / gaps;
}

QColor RouteLine::signalColor(MIDIMessageKind kind) {
    switch (kind) {
        case MIDIMessageKind::noteOff:
        case MIDIMessageKind::noteOn:
            return QColor::fromRgbF(0.94F, 0.35F, 0.22F);
        case MIDIMessageKind::controlChange:
            return QColor::fromRgbF(0.24F, 0.66F, 0.95F);
        case MIDIMessageKind::start:
        case MIDIMessageKind::continue_:
        case MIDIMessageKind::stop:
            return QColor::fromRgbF(0.72F, 0.47F, 0.95F);
        case MIDIMessageKind::polyPressure:
        case MIDIMessageKind::programChange:
        case MIDIMessageKind::channelPressure:
        case MIDIMessageKind::pitchBend:
        case MIDIMessageKind::sysex:
        case MIDIMessageKind::timeCode:
        case MIDIMessageKind::songPosition:
        case MIDIMessageKind::songSelect:
        case MIDIMessageKind::tuneRequest:
        case MIDIMessageKind::timingClock:
        case MIDIMessageKind::activeSensing:
        case MIDIMessageKind::systemReset:
        case MIDIMessageKind::data:
        case MIDIMessageKind::unknown:
            break;
    }
    return QColor::fromRgbF(0.97F, 0.72F, 0.22F);
}

double RouteLine::pull() const {
    return std::max(kPullShare * size.width(), kMinPull);
}

double RouteLine::endX() const {
    return std::max(size.width() - kConnectorWidth, kConnectorWidth);
}

QPointF RouteLine::start() const {
    return {kConnectorWidth, startY};
}

QPointF RouteLine::end() const {
    return {endX(), endY};
}

QPointF RouteLine::pointAt(double progress) const {
    const double rest = 1 - progress;
    const double first = rest * rest * rest;
    const double second = 3 * rest * rest * progress;
    const double third = 3 * rest * progress * progress;
    const double last = progress * progress * progress;
    const QPointF inwards(pull(), 0);
    return start() * first + (start() + inwards) * second + (end() - inwards) * third + end() * last;
}

QPainterPath RouteLine::path() const {
    const QPointF inwards(pull(), 0);
    QPainterPath path(start());
    path.cubicTo(start() + inwards, end() - inwards, end());
    return path;
}

QRectF RouteLine::startMark() const {
    return {0, startY - kConnectorHeight / 2, kConnectorWidth, kConnectorHeight};
}

QRectF RouteLine::endMark() const {
    const double middle = std::max(size.width() - kConnectorWidth / 2, kConnectorWidth / 2);
    return {middle - kConnectorWidth / 2, endY - kConnectorHeight / 2, kConnectorWidth, kConnectorHeight};
}

bool RouteLine::catches(const QPointF& point) const {
    constexpr double kReach = kHitWidth / 2;
    // The band ends where the curve ends. The curve is horizontal there, so the ends of the band are vertical.
    if (point.x() < kConnectorWidth || point.x() > endX() || point.y() < std::min(startY, endY) - kReach ||
        point.y() > std::max(startY, endY) + kReach) {
        return false;
    }
    QPointF from = start();
    for (int segment = 1; segment <= kHitSegments; ++segment) {
        const QPointF to = pointAt(static_cast<double>(segment) / kHitSegments);
        if (squaredDistance(point, from, to) <= kReach * kReach) {
            return true;
        }
        from = to;
    }
    return false;
}

QColor RouteLine::baseColor(const Theme& theme) const {
    const bool isComplete = availability == RouteAvailability::active || availability == RouteAvailability::paused;
    return isComplete ? routeColor : theme.missing;
}

QColor RouteLine::lineColor(const Theme& theme) const {
    return withOpacity(baseColor(theme), opacityOf(availability).line);
}

QColor RouteLine::markColor(const Theme& theme) const {
    return withOpacity(baseColor(theme), opacityOf(availability).mark);
}

std::optional<RouteSignal> RouteLine::activeSignal(const MIDIActivityEvent& event, Instant now) const {
    const std::chrono::nanoseconds age = now - event.timestamp;
    if (availability != RouteAvailability::active || age < std::chrono::nanoseconds::zero() ||
        age > kSignalDuration + kSignalFadeDuration) {
        return std::nullopt;
    }
    const std::chrono::nanoseconds sinceArrival = std::max(age - kSignalDuration, std::chrono::nanoseconds::zero());
    return RouteSignal{.id = event.id,
                       .messageKind = event.messageKind,
                       .progress = std::clamp(ratio(age, kSignalDuration), 0.025, 1.0),
                       .opacity = std::max(0.0, 1 - ratio(sinceArrival, kSignalFadeDuration))};
}

std::optional<RouteOutputPulse> RouteLine::outputPulse(const MIDIActivityEvent& event, Instant now) const {
    const std::chrono::nanoseconds sinceArrival = now - event.timestamp - kSignalDuration;
    if (availability != RouteAvailability::active || sinceArrival < std::chrono::nanoseconds::zero() ||
        sinceArrival > kOutputPulseDuration) {
        return std::nullopt;
    }
    const double share = ratio(sinceArrival, kOutputPulseDuration);
    return RouteOutputPulse{.id = event.id,
                            .messageKind = event.messageKind,
                            .opacity = std::max(0.0, 1 - share),
                            .scale = 0.55 + 1.15 * share};
}

}  // namespace corvel::ui
