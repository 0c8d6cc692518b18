#pragma once

#include "tests/app/ModelFixture.hpp"
#include "ui/Look.hpp"
#include "ui/ModelRefresh.hpp"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <chrono>
#include <memory>

namespace corvel::tests {

/// The model of `ModelFixture`, with what a view needs besides: a look, and the notification of changes. Tests also
/// drive Qt's loop by hand.
class WindowModelFixture : public ModelFixture {
protected:
    /// Makes the view follow the present model.
    template <typename View>
    void follow(View& view) {
        refresh_ = std::make_unique<ui::ModelRefresh>(*model);
        QObject::connect(refresh_.get(), &ui::ModelRefresh::changed, &view,
                         [&view](const ui::ModelChanges& changes) { view.refresh(changes); });
    }

    /// To be called before another model is created.
    void stopFollowing() { refresh_.reset(); }

    /// Runs what is waiting in the model's queues and in Qt's, including deletions. Traffic is not notified.
    void turn() {
        // Views are notified in the first round, and get their places in the second.
        for (int round = 0; round < 2; ++round) {
            settle();
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    /// Turns until the condition holds; false after this time.
    template <typename Condition>
    [[nodiscard]] bool turnUntil(Condition&& holds, std::chrono::milliseconds patience = std::chrono::seconds(2)) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        do {
            turn();
            if (holds()) {
                return true;
            }
        } while (std::chrono::steady_clock::now() < deadline);
        return false;
    }

    ui::Look look{AppAppearanceMode::dark};

private:
    /// Destroyed before the model that it observes.
    std::unique_ptr<ui::ModelRefresh> refresh_;
};

}  // namespace corvel::tests
