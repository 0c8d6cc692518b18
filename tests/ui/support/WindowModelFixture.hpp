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

/// The model as `ModelFixture` makes it, with what a view needs besides: a look, and somebody who tells it of changes.
/// Qt's loop stands still as well, until a test asks for a turn.
class WindowModelFixture : public ModelFixture {
protected:
    /// Has the view follow the model that there is now.
    template <typename View>
    void follow(View& view) {
        refresh_ = std::make_unique<ui::ModelRefresh>(*model);
        QObject::connect(refresh_.get(), &ui::ModelRefresh::changed, &view,
                         [&view](const ui::ModelChanges& changes) { view.refresh(changes); });
    }

    /// Before another model is made.
    void stopFollowing() { refresh_.reset(); }

    /// Runs what waits in the model's queues and in Qt's, deletions included. No traffic is told of yet.
    void turn() {
        // Views hear of a change in the first round, and get their places in the second.
        for (int round = 0; round < 2; ++round) {
            settle();
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    /// Turns until the condition holds; false if it does not in that time.
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
    /// Goes before the model that it observes.
    std::unique_ptr<ui::ModelRefresh> refresh_;
};

}  // namespace corvel::tests
