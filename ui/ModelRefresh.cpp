#include "ui/ModelRefresh.hpp"

#include <utility>

namespace corvel::ui {

namespace {

/// Slightly more than a sixtieth of a second.
constexpr int kTrafficInterval = 17;

}  // namespace

ModelRefresh::ModelRefresh(MIDIRouterViewModel& model, QObject* parent) : QObject(parent) {
    nextTurn_.setSingleShot(true);
    traffic_.setSingleShot(true);
    traffic_.setTimerType(Qt::PreciseTimer);
    traffic_.setInterval(kTrafficInterval);
    connect(&nextTurn_, &QTimer::timeout, this, &ModelRefresh::tell);
    connect(&traffic_, &QTimer::timeout, this, &ModelRefresh::tell);
    observation_ = model.observe([this](ModelChanges::Property property) { note(property); });
}

void ModelRefresh::note(ModelChanges::Property property) {
    using Property = ModelChanges::Property;
    changes_.insert(property);
    const bool isTraffic = property == Property::activityEvents || property == Property::graphActivityEvents;
    QTimer& timer = isTraffic ? traffic_ : nextTurn_;
    if (!timer.isActive()) {
        timer.start();
    }
}

void ModelRefresh::tell() {
    nextTurn_.stop();
    traffic_.stop();
    emit changed(std::exchange(changes_, {}));
}

}  // namespace corvel::ui
