#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <utility>

namespace corvel {

/// A first-in, first-out queue whose elements never move: memory comes in chunks, and is given back chunk by chunk.
///
/// A number of chunks is there from the start and kept, and its memory has been written to. A thread that routes MIDI
/// must not wait for the heap, nor for the page fault with which memory that is only reserved answers its first use.
/// One thread at a time.
template <typename Value, std::size_t ChunkSize>
class ChunkedQueue {
public:
    /// A queue that holds `keptCount` elements, rounded up to whole chunks, without asking for memory.
    explicit ChunkedQueue(std::size_t keptCount) : keptChunks_((keptCount + ChunkSize - 1) / ChunkSize + 1) {
        for (std::size_t count = 0; count < keptChunks_; ++count) {
            keep(std::make_unique<Chunk>());
        }
    }
    ChunkedQueue(const ChunkedQueue&) = delete;
    ChunkedQueue& operator=(const ChunkedQueue&) = delete;
    ~ChunkedQueue() {
        clear();
        while (spare_) {
            spare_ = std::move(spare_->next);
        }
    }

    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] std::size_t size() const { return size_; }

    void push(Value&& value) {
        if (last_ == nullptr || last_->end == ChunkSize) {
            append();
        }
        last_->values[last_->end++] = std::move(value);
        ++size_;
    }

    /// The oldest elements, as many as stand together; empty only if the queue is. They stay where they are, also while
    /// others are added, until they are popped.
    [[nodiscard]] std::span<Value> front() {
        return first_ ? std::span(first_->values).subspan(first_->begin, first_->end - first_->begin)
                      : std::span<Value>();
    }

    /// Removes the oldest `count` elements. Precondition: `count` is at most `front().size()`.
    void pop(std::size_t count) {
        for (; count > 0; --count, --size_) {
            // Releases what the element holds.
            first_->values[first_->begin++] = Value();
        }
        if (first_ && first_->begin == first_->end) {
            if (first_.get() == last_) {
                first_->begin = first_->end = 0;
            } else {
                keep(detachFirst());
            }
        }
    }

    void clear() {
        while (!empty()) {
            pop(front().size());
        }
    }

    /// Moves the oldest elements, as many as stand together, into `other`, which is empty. Takes the same short time
    /// for any number of elements.
    void moveFrontTo(ChunkedQueue& other) {
        if (empty()) {
            return;
        }
        const std::size_t count = first_->end - first_->begin;
        std::unique_ptr<Chunk> chunk = detachFirst();
        size_ -= count;
        // In exchange for a chunk that `other` is through with: the emptied one that it was left with, or a spare one.
        if (other.first_) {
            keep(other.detachFirst());
        } else if (other.spare_) {
            keep(other.takeSpare());
        }
        other.last_ = chunk.get();
        other.first_ = std::move(chunk);
        other.size_ = count;
    }

private:
    struct Chunk {
        std::array<Value, ChunkSize> values{};
        std::size_t begin = 0;
        std::size_t end = 0;
        std::unique_ptr<Chunk> next;
    };

    void append() {
        std::unique_ptr<Chunk> chunk = spare_ ? takeSpare() : std::make_unique<Chunk>();
        Chunk* const added = chunk.get();
        (last_ != nullptr ? last_->next : first_) = std::move(chunk);
        last_ = added;
    }

    [[nodiscard]] std::unique_ptr<Chunk> detachFirst() {
        std::unique_ptr<Chunk> chunk = std::move(first_);
        first_ = std::move(chunk->next);
        if (!first_) {
            last_ = nullptr;
        }
        return chunk;
    }

    /// Keeps a chunk for later use, or frees it if there are enough.
    void keep(std::unique_ptr<Chunk> chunk) {
        if (spareCount_ < keptChunks_) {
            chunk->begin = chunk->end = 0;
            chunk->next = std::move(spare_);
            spare_ = std::move(chunk);
            ++spareCount_;
        }
    }

    [[nodiscard]] std::unique_ptr<Chunk> takeSpare() {
        std::unique_ptr<Chunk> chunk = std::move(spare_);
        spare_ = std::move(chunk->next);
        --spareCount_;
        return chunk;
    }

    const std::size_t keptChunks_;
    std::unique_ptr<Chunk> first_;
    Chunk* last_ = nullptr;
    std::size_t size_ = 0;
    std::unique_ptr<Chunk> spare_;
    std::size_t spareCount_ = 0;
};

}  // namespace corvel
