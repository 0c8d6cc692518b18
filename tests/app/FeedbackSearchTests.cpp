#include "app/FeedbackSearch.hpp"

#include "tests/support/RouteBuilders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace corvel::tests {
namespace {

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// Ports 1 to 3 are loopback ports, 4 and 5 are not, 0 is unknown. A source's ID is the port's number, a destination's
/// is 100 more.
std::unordered_set<UUID> feedback(const std::vector<MIDIRoute>& routes) {
    std::vector<MIDIEndpointModel> sources;
    std::vector<MIDIEndpointModel> destinations;
    for (const std::uint32_t port : {0U, 1U, 2U, 3U, 4U, 5U}) {
        MIDIEndpointModel endpoint{.id = static_cast<std::int32_t>(port), .displayName = "Port", .manufacturer = {}};
        endpoint.port = port;
        endpoint.isLoopback = port >= 1 && port <= 3;
        sources.push_back(endpoint);
        endpoint.id += 100;
        destinations.push_back(endpoint);
    }
    return findFeedback(routes, EndpointList(std::move(sources)), EndpointList(std::move(destinations)));
}

MIDIRoute connection(std::int32_t from, std::int32_t to, bool isEnabled = true) {
    return makeRoute({.id = makeID(static_cast<std::uint32_t>(from * 10 + to)),
                      .sourceID = from,
                      .destinationID = 100 + to,
                      .isEnabled = isEnabled});
}

TEST(FeedbackSearch, FindsConnectionsOfAPortToItself) {
    EXPECT_THAT(feedback({connection(1, 1), connection(4, 4), connection(4, 5)}),
                UnorderedElementsAre(makeID(11), makeID(44)));
}

TEST(FeedbackSearch, FindsCirclesOverPortsThatReturnWhatTheyAreSent) {
    EXPECT_THAT(feedback({connection(1, 2), connection(2, 3), connection(3, 1), connection(3, 4)}),
                UnorderedElementsAre(makeID(12), makeID(23), makeID(31)));
    EXPECT_THAT(feedback({connection(1, 2), connection(2, 3)}), IsEmpty()) << "not closed";
    EXPECT_THAT(feedback({connection(1, 4), connection(4, 1)}), IsEmpty()) << "a device between";
}

TEST(FeedbackSearch, LeavesOutPausedConnectionsAndEndpointsThatAreAwayOrUnknown) {
    EXPECT_THAT(feedback({connection(1, 1, false)}), IsEmpty());
    EXPECT_THAT(feedback({connection(1, 2, false), connection(2, 1)}), IsEmpty());
    EXPECT_THAT(feedback({connection(9, 9)}), IsEmpty());
    EXPECT_THAT(feedback({connection(0, 0)}), IsEmpty());
}

}  // namespace
}  // namespace corvel::tests
