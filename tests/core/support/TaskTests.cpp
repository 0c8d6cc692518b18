#include "core/support/Task.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace corvel {
namespace {

/// A callable of a given size that counts how often it was allocated on the heap.
template <std::size_t Size>
struct SizedWork {
    static inline int heapAllocations = 0;

    static void* operator new(std::size_t size) {
        ++heapAllocations;
        return ::operator new(size);
    }
    static void operator delete(void* memory) { ::operator delete(memory); }

    void operator()() { ++bytes[Size - 1]; }

    std::array<unsigned char, Size> bytes{};
};

/// A callable whose move may throw.
struct ThrowingMoveWork {
    explicit ThrowingMoveWork(std::shared_ptr<int> runCount) : runs(std::move(runCount)) {}
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): it must be able to throw
    ThrowingMoveWork(ThrowingMoveWork&& other) : runs(std::move(other.runs)) {}
    ThrowingMoveWork(const ThrowingMoveWork&) = delete;
    ThrowingMoveWork& operator=(const ThrowingMoveWork&) = delete;
    ThrowingMoveWork& operator=(ThrowingMoveWork&&) = delete;
    ~ThrowingMoveWork() = default;

    void operator()() { ++*runs; }

    std::shared_ptr<int> runs;
};

struct alignas(64) OveralignedWork {
    std::uintptr_t* address;
    void operator()() { *address = reinterpret_cast<std::uintptr_t>(this); }
};

static_assert(!std::is_copy_constructible_v<Task> && !std::is_copy_assignable_v<Task>);
static_assert(std::is_nothrow_move_constructible_v<Task> && std::is_nothrow_move_assignable_v<Task>);
static_assert(!std::is_constructible_v<Task, int>);
static_assert(!std::is_constructible_v<Task, void (*)(int)>);

TEST(Task, IsEmptyFromTheStart) {
    EXPECT_FALSE(static_cast<bool>(Task()));
}

TEST(Task, RunsItsWork) {
    int runs = 0;
    Task task([&runs] { ++runs; });
    ASSERT_TRUE(static_cast<bool>(task));
    EXPECT_EQ(runs, 0);
    task();
    EXPECT_EQ(runs, 1);
}

TEST(Task, TakesPlainFunctionsAndStoredCallables) {
    static int runs = 0;
    runs = 0;
    Task(+[] { ++runs; })();
    const std::function<void()> stored = [] { ++runs; };
    Task copied(stored);
    copied();
    EXPECT_EQ(runs, 2);
    EXPECT_TRUE(static_cast<bool>(stored)) << "a named callable is copied and not taken";
}

TEST(Task, TakesWorkThatCanOnlyBeMoved) {
    int value = 0;
    Task task([&value, source = std::make_unique<int>(7)] { value = *source; });
    Task moved(std::move(task));
    moved();
    EXPECT_EQ(value, 7);
}

TEST(Task, TakesItsWorkAlongWhenMoved) {
    int runs = 0;
    Task first([&runs] { ++runs; });
    Task second(std::move(first));
    EXPECT_FALSE(static_cast<bool>(first));  // NOLINT(bugprone-use-after-move): being empty then is promised
    ASSERT_TRUE(static_cast<bool>(second));
    Task third;
    third = std::move(second);
    EXPECT_FALSE(static_cast<bool>(second));  // NOLINT(bugprone-use-after-move): being empty then is promised
    ASSERT_TRUE(static_cast<bool>(third));
    third();
    EXPECT_EQ(runs, 1);
}

TEST(Task, ReleasesItsWorkUnrun) {
    const auto token = std::make_shared<int>(0);
    {
        const Task task([token] { ++*token; });
        EXPECT_EQ(token.use_count(), 2);
    }
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(*token, 0);
}

TEST(Task, ReleasesItsWorkOnceHoweverOftenItIsMoved) {
    const auto token = std::make_shared<int>(0);
    {
        Task first([token] { ++*token; });
        Task second(std::move(first));
        Task third(std::move(second));
        EXPECT_EQ(token.use_count(), 2);
        third();
    }
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(*token, 1);
}

TEST(Task, ReleasesTheWorkThatAnAssignmentReplaces) {
    const auto replaced = std::make_shared<int>(0);
    const auto kept = std::make_shared<int>(0);
    Task task([replaced] { ++*replaced; });
    task = Task([kept] { ++*kept; });
    EXPECT_EQ(replaced.use_count(), 1);
    EXPECT_EQ(kept.use_count(), 2);
    task();
    EXPECT_EQ(*kept, 1);
    task = Task();
    EXPECT_FALSE(static_cast<bool>(task));
    EXPECT_EQ(kept.use_count(), 1);
}

TEST(Task, SurvivesAssignmentToItself) {
    int runs = 0;
    Task task([&runs] { ++runs; });
    Task& same = task;
    task = std::move(same);
    ASSERT_TRUE(static_cast<bool>(task));
    task();
    EXPECT_EQ(runs, 1);
}

TEST(Task, KeepsWorkUpToItsInlineSizeOffTheHeap) {
    Task smallest{SizedWork<1>()};
    Task largest{SizedWork<112>()};
    Task moved(std::move(largest));
    moved();
    smallest();
    EXPECT_EQ(SizedWork<1>::heapAllocations, 0);
    EXPECT_EQ(SizedWork<112>::heapAllocations, 0);
    EXPECT_EQ(Task::kInlineSize, 112U);
}

TEST(Task, KeepsLargerWorkOnTheHeapInOnePiece) {
    Task task{SizedWork<113>()};
    EXPECT_EQ(SizedWork<113>::heapAllocations, 1);
    Task moved(std::move(task));
    moved();
    EXPECT_EQ(SizedWork<113>::heapAllocations, 1) << "moving a task moves no work that is on the heap";
}

TEST(Task, ReleasesLargeWorkOnce) {
    const auto token = std::make_shared<int>(0);
    {
        Task task([token, ballast = std::array<char, 500>{}] { *token += 1 + ballast[499]; });
        Task moved(std::move(task));
        EXPECT_EQ(token.use_count(), 2);
        moved();
    }
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(*token, 1);
}

TEST(Task, IsMovedWithoutThrowingWhateverItsWorkDoes) {
    const auto runs = std::make_shared<int>(0);
    {
        Task task{ThrowingMoveWork(runs)};
        Task moved(std::move(task));
        moved();
    }
    EXPECT_EQ(*runs, 1);
    EXPECT_EQ(runs.use_count(), 1);
}

TEST(Task, KeepsTheAlignmentOfItsWork) {
    std::uintptr_t address = 1;
    Task task{OveralignedWork{&address}};
    Task moved(std::move(task));
    moved();
    EXPECT_EQ(address % 64, 0U);
}

TEST(Task, LetsAnExceptionOfItsWorkThrough) {
    Task task([] { throw std::runtime_error("work failed"); });
    EXPECT_THROW(task(), std::runtime_error);
}

}  // namespace
}  // namespace corvel
