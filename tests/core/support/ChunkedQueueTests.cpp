#include "core/support/ChunkedQueue.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <deque>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace corvel {
namespace {

/// A number that counts its instances, to show how much memory is allocated in chunks.
struct Counted {
    static inline int count = 0;

    Counted() { ++count; }
    // NOLINTNEXTLINE(google-explicit-constructor): written as a plain number in tests
    Counted(int value) : number(value) { ++count; }
    Counted(const Counted&) = delete;
    Counted(Counted&& other) noexcept : number(other.number) { ++count; }
    Counted& operator=(const Counted&) = delete;
    Counted& operator=(Counted&& other) noexcept {
        number = other.number;
        return *this;
    }
    ~Counted() { --count; }

    int number = 0;
};

using Queue = ChunkedQueue<Counted, 4>;

void push(Queue& queue, int first, int end) {
    for (int number = first; number < end; ++number) {
        queue.push(number);
    }
}

std::vector<int> front(Queue& queue) {
    std::vector<int> numbers;
    for (const Counted& value : queue.front()) {
        numbers.push_back(value.number);
    }
    return numbers;
}

std::vector<int> takeAll(Queue& queue) {
    std::vector<int> numbers;
    while (!queue.empty()) {
        numbers.push_back(queue.front().front().number);
        queue.pop(1);
    }
    return numbers;
}

TEST(ChunkedQueue, IsEmptyAtFirst) {
    Queue queue(8);
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(queue.size(), 0U);
    EXPECT_TRUE(queue.front().empty());
    queue.clear();
    EXPECT_TRUE(queue.empty());
}

TEST(ChunkedQueue, GivesItsElementsInTheOrderInWhichTheyCame) {
    Queue queue(0);
    push(queue, 0, 10);
    EXPECT_EQ(queue.size(), 10U);
    EXPECT_EQ(front(queue), (std::vector{0, 1, 2, 3}));
    queue.pop(3);
    EXPECT_EQ(front(queue), std::vector{3});
    push(queue, 10, 12);
    EXPECT_EQ(queue.size(), 9U);
    EXPECT_EQ(takeAll(queue), (std::vector{3, 4, 5, 6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(queue.size(), 0U);
}

TEST(ChunkedQueue, HoldsTheSameAsADequeWhateverIsDoneToIt) {
    Queue queue(4);
    std::deque<int> expected;
    int next = 0;
    for (int round = 0; round < 200; ++round) {
        for (int count = 0; count < round % 11; ++count, ++next) {
            queue.push(next);
            expected.push_back(next);
        }
        for (int count = 0; count < round % 7 && !expected.empty(); ++count) {
            ASSERT_EQ(queue.front().front().number, expected.front());
            queue.pop(1);
            expected.pop_front();
        }
        ASSERT_EQ(queue.size(), expected.size());
    }
    EXPECT_EQ(takeAll(queue), std::vector(expected.begin(), expected.end()));
}

TEST(ChunkedQueue, NeverMovesAnElement) {
    Queue queue(0);
    push(queue, 0, 6);
    const std::span<Counted> oldest = queue.front();
    push(queue, 6, 40);
    EXPECT_EQ(queue.front().data(), oldest.data());
    queue.pop(2);
    EXPECT_EQ(queue.front().data(), oldest.data() + 2);
    EXPECT_EQ(oldest[2].number, 2);
}

TEST(ChunkedQueue, ReleasesWhatAnElementHoldsWhenItIsPopped) {
    ChunkedQueue<std::shared_ptr<int>, 4> queue(4);
    const auto held = std::make_shared<int>(1);
    queue.push(std::shared_ptr<int>(held));
    queue.push(std::shared_ptr<int>(held));
    EXPECT_EQ(held.use_count(), 3);
    queue.pop(1);
    EXPECT_EQ(held.use_count(), 2);
    queue.clear();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(ChunkedQueue, HasRoomForWhatItKeepsFromTheStartAndAsksForNoMore) {
    Queue queue(6);
    const int atFirst = Counted::count;
    EXPECT_GE(atFirst, 8);
    for (int round = 0; round < 20; ++round) {
        // A different part of a chunk is filled each time.
        push(queue, 0, 6);
        queue.pop(1);
        queue.push(6);
        EXPECT_EQ(Counted::count, atFirst);
        EXPECT_EQ(takeAll(queue), (std::vector{1, 2, 3, 4, 5, 6}));
    }
}

TEST(ChunkedQueue, GivesMemoryBackBeyondWhatItKeeps) {
    const int before = Counted::count;
    {
        Queue queue(8);
        const int atFirst = Counted::count;
        push(queue, 0, 1000);
        EXPECT_GE(Counted::count, before + 1000);
        for (int count = 0; count < 900; ++count) {
            queue.pop(1);
        }
        EXPECT_LT(Counted::count, before + 200) << "while others still wait";
        queue.clear();
        // The chunk that was used last may stay with the kept ones.
        EXPECT_LE(Counted::count, atFirst + 4);
        push(queue, 0, 1000);
    }
    EXPECT_EQ(Counted::count, before) << "with its queue";
}

TEST(ChunkedQueue, MovesItsOldestElementsToAnotherQueueWhereTheyStand) {
    Queue from(0);
    Queue to(0);
    push(from, 0, 6);
    const Counted* const place = from.front().data();
    from.moveFrontTo(to);
    EXPECT_EQ(to.front().data(), place);
    EXPECT_EQ(to.size(), 4U);
    EXPECT_EQ(from.size(), 2U);
    EXPECT_EQ(front(from), (std::vector{4, 5}));
    EXPECT_EQ(takeAll(to), (std::vector{0, 1, 2, 3}));
    push(from, 6, 7);
    from.moveFrontTo(to);
    EXPECT_TRUE(from.empty());
    EXPECT_EQ(takeAll(to), (std::vector{4, 5, 6}));
    from.moveFrontTo(to);
    EXPECT_TRUE(to.empty());
    push(from, 7, 9);
    EXPECT_EQ(takeAll(from), (std::vector{7, 8}));
}

TEST(ChunkedQueue, MovesOnlyWhatIsLeftOfItsOldestElements) {
    Queue from(0);
    Queue to(0);
    push(from, 0, 5);
    from.pop(3);
    from.moveFrontTo(to);
    EXPECT_EQ(takeAll(to), std::vector{3});
    EXPECT_EQ(takeAll(from), std::vector{4});
}

TEST(ChunkedQueue, AsksForNoMemoryWhenElementsGoThroughAnotherQueue) {
    Queue from(8);
    Queue to(0);
    const int atFirst = Counted::count;
    for (int round = 0; round < 20; ++round) {
        push(from, 0, 8);
        while (!from.empty()) {
            from.moveFrontTo(to);
            (void)takeAll(to);
        }
        EXPECT_EQ(Counted::count, atFirst) << round;
    }
}

}  // namespace
}  // namespace corvel
