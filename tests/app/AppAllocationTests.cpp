#include "app/HeadlessReporter.hpp"
#include "app/Observers.hpp"
#include "tests/app/ModelFixture.hpp"
#include "tests/support/HeapCounter.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {
namespace {

TEST(ObserversAllocation, KeepsNoPlaceForObserversThatHaveGone) {
    Observers<int> observers;
    const auto subscribeForAMoment = [&observers] {
        const Observation observation = observers.add([](int) {});
        observers.notify(1);
    };
    subscribeForAMoment();
    const std::size_t before = heapAllocationCount();
    for (int count = 0; count < 1'000; ++count) {
        subscribeForAMoment();
    }
    EXPECT_EQ(heapAllocationCount() - before, 1'000U) << "one for each observer";
}

class HeadlessReporterAllocation : public ModelFixture {};

TEST_F(HeadlessReporterAllocation, NamesTheConnectionsAnewOnlyAfterAChange) {
    std::vector<MIDIRoute> routes;
    for (std::uint32_t number = 1; number <= 200; ++number) {
        routes.push_back(
            makeRoute({.id = makeID(number), .sourceName = "A name that is too long for the string itself"}));
    }
    makeModel(MIDIRouteSetDocument::singleSet(std::move(routes), "Default"));
    std::size_t lineCount = 0;
    const HeadlessReporter reporter(
        model, clock, HeadlessReporter::Style::timed, [](const std::string&) {},
        [&lineCount](const std::string&) { ++lineCount; });
    report(makeID(1), {0xF8});
    const std::size_t before = heapAllocationCount();
    report(makeID(1), {0xF8});
    EXPECT_LT(heapAllocationCount() - before, 100U) << "there are 200 names";
    EXPECT_EQ(lineCount, 2U);
}

}  // namespace
}  // namespace corvel::tests
