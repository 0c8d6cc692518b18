#include "app/Observers.hpp"

#include "app/Published.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;

enum class Color { red, green };

TEST(Observers, CallsObserversInTheOrderOfSubscription) {
    Observers<Color> observers;
    std::vector<std::string> calls;
    const Observation first = observers.add([&](Color) { calls.emplace_back("first"); });
    const Observation second =
        observers.add([&](Color color) { calls.emplace_back(color == Color::green ? "green" : "red"); });
    observers.notify(Color::green);
    EXPECT_THAT(calls, ElementsAre("first", "green"));
}

TEST(Observers, StopsCallingAnObserverWhoseSubscriptionHasGone) {
    Observers<Color> observers;
    int calls = 0;
    std::optional<Observation> observation = observers.add([&](Color) { ++calls; });
    observers.notify(Color::red);
    observation.reset();
    observers.notify(Color::red);
    EXPECT_EQ(calls, 1);
}

TEST(Observers, LetsAnObserverEndItselfAndTheNextWhileItIsCalled) {
    Observers<Color> observers;
    std::vector<std::string> calls;
    Observation first;
    Observation second;
    // The callable's captured values must stay valid until it returns.
    first = observers.add([&, name = std::string("an observer with a name too long for the string itself")](Color) {
        first.end();
        second.end();
        calls.push_back(name.substr(0, 11));
    });
    second = observers.add([&](Color) { calls.emplace_back("second"); });
    const Observation third = observers.add([&](Color) { calls.emplace_back("third"); });
    observers.notify(Color::red);
    EXPECT_THAT(calls, ElementsAre("an observer", "third"));
    observers.notify(Color::red);
    EXPECT_THAT(calls, ElementsAre("an observer", "third", "third"));
}

TEST(Observers, TellsAnObserverAddedDuringANotificationFromTheNextOneOn) {
    Observers<Color> observers;
    std::vector<Observation> added;
    int calls = 0;
    const Observation adding = observers.add([&](Color) {
        for (int count = 0; count < 100; ++count) {
            added.push_back(observers.add([&](Color) { ++calls; }));
        }
    });
    observers.notify(Color::red);
    EXPECT_EQ(calls, 0);
    observers.notify(Color::red);
    EXPECT_EQ(calls, 100);
}

TEST(Observers, NotifiesFromInsideANotification) {
    Observers<Color> observers;
    std::vector<Color> heard;
    Observation ending;
    const Observation nesting = observers.add([&](Color color) {
        if (color == Color::red) {
            observers.notify(Color::green);
        }
    });
    ending = observers.add([&](Color color) {
        heard.push_back(color);
        ending.end();
    });
    const Observation last = observers.add([&](Color color) { heard.push_back(color); });
    observers.notify(Color::red);
    EXPECT_THAT(heard, ElementsAre(Color::green, Color::green, Color::red));
}

TEST(Observers, MayGoBeforeASubscription) {
    auto observers = std::make_unique<Observers<Color>>();
    Observation observation = observers->add([](Color) {});
    observers.reset();
    observation.end();
}

TEST(Published, TellsItsObserversBeforeItChangesAlsoToTheSameValue) {
    Observers<Color> observers;
    Published<int, Color> property(observers, Color::green, 1);
    std::vector<int> seen;
    const Observation observation = observers.add([&](Color) { seen.push_back(property.value()); });
    property.set(2);
    property.set(2);
    EXPECT_EQ(property.edit([](int& value) { return value += 5; }), 7);
    EXPECT_THAT(seen, ElementsAre(1, 2, 2));
    EXPECT_EQ(property.value(), 7);
}

TEST(Published, EditsWithoutACopy) {
    Observers<Color> observers;
    Published<std::vector<int>, Color> property(observers, Color::red, {1, 2, 3});
    const int* const before = property.value().data();
    property.edit([](std::vector<int>& values) { values[1] = 5; });
    EXPECT_EQ(property.value().data(), before);
    EXPECT_THAT(property.value(), ElementsAre(1, 5, 3));
}

}  // namespace
}  // namespace corvel::tests
