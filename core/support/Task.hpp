#pragma once

#include <array>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace corvel {

/// A task for a queue: a callable without arguments. It runs at most once, and can be moved but not copied.
///
/// Callables of up to `kInlineSize` bytes are stored in the task itself, so posting them allocates nothing; the
/// delivery of a short message fits. Larger ones are stored on the heap.
class Task {
public:
    static constexpr std::size_t kInlineSize = 112;

    /// Whether a callable of this type is stored in the task. Not if its move may throw, because moving a task must not
    /// throw.
    template <typename Callable>
    static constexpr bool kIsInline =
        sizeof(Callable) <= kInlineSize && alignof(Callable) <= alignof(std::max_align_t) &&
        std::is_nothrow_move_constructible_v<Callable>;

    Task() = default;

    template <typename Callable>
        requires(!std::is_same_v<std::decay_t<Callable>, Task> && std::is_invocable_v<std::decay_t<Callable>&>)
    // NOLINTNEXTLINE(google-explicit-constructor): a callable converts to a task when it is posted
    Task(Callable&& callable) {
        using Stored = std::decay_t<Callable>;
        if constexpr (kIsInline<Stored>) {
            ::new (static_cast<void*>(storage_.data())) Stored(std::forward<Callable>(callable));
            operations_ = &kInlineOperations<Stored>;
        } else {
            ::new (static_cast<void*>(storage_.data())) Stored*(new Stored(std::forward<Callable>(callable)));
            operations_ = &kHeapOperations<Stored>;
        }
    }

    Task(Task&& other) noexcept { takeFrom(other); }
    Task& operator=(Task&& other) noexcept {
        if (this != &other) {
            reset();
            takeFrom(other);
        }
        return *this;
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() { reset(); }

    /// Whether there is a callable.
    explicit operator bool() const { return operations_ != nullptr; }

    /// Runs the callable. Precondition: there is one.
    void operator()() { operations_->run(storage_.data()); }

private:
    struct Operations {
        void (*run)(std::byte* storage);
        void (*relocate)(std::byte* from, std::byte* to) noexcept;
        void (*destroy)(std::byte* storage) noexcept;
    };

    template <typename Stored>
    static Stored* stored(std::byte* storage) {
        return std::launder(reinterpret_cast<Stored*>(storage));
    }

    template <typename Stored>
    static constexpr Operations kInlineOperations{
        [](std::byte* storage) { (*stored<Stored>(storage))(); },
        [](std::byte* from, std::byte* to) noexcept {
            ::new (static_cast<void*>(to)) Stored(std::move(*stored<Stored>(from)));
            stored<Stored>(from)->~Stored();
        },
        [](std::byte* storage) noexcept { stored<Stored>(storage)->~Stored(); }};

    template <typename Stored>
    static constexpr Operations kHeapOperations{
        [](std::byte* storage) { (**stored<Stored*>(storage))(); },
        [](std::byte* from, std::byte* to) noexcept { ::new (static_cast<void*>(to)) Stored*(*stored<Stored*>(from)); },
        [](std::byte* storage) noexcept { delete *stored<Stored*>(storage); }};

    void takeFrom(Task& other) noexcept {
        operations_ = std::exchange(other.operations_, nullptr);
        if (operations_ != nullptr) {
            operations_->relocate(other.storage_.data(), storage_.data());
        }
    }

    void reset() noexcept {
        if (const Operations* operations = std::exchange(operations_, nullptr); operations != nullptr) {
            operations->destroy(storage_.data());
        }
    }

    const Operations* operations_ = nullptr;
    alignas(std::max_align_t) std::array<std::byte, kInlineSize> storage_;
};

}  // namespace corvel
