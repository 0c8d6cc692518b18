#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <utility>

namespace corvel {

/// A first-in, first-out queue whose elements never move: memory is allocated and freed in chunks.
///
/// A number of chunks is allocated at the start and kept, and its memory has been written to. So a thread that routes
/// MIDI waits neither for the heap nor for the page fault at the first use of reserved memory. One thread at a time.
template <typename Value, std::size_t ChunkSize>
class ChunkedQueue {
public:
    /// A queue that holds `keptCount` elements, rounded up to whole chunks, without allocating.
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

    /// The oldest elements that are contiguous; empty only if the queue is. They do not move until they are popped,
    /// even if others are added.
    [[nodiscard]] std::span<Value> front() {
        return first_ ? std::span(first_->values).subspan(first_->begin, first_->end - first_->begin)
                      : std::span<Value>();
    }

    /// Removes the oldest `count` elements. Precondition: `count` is at most `front().size()`.
    void pop(std::size_t count) {
        for (; count > 0; --count, --size_) {
            // Releases what the element owns.
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

    /// Moves the oldest contiguous elements into `other`, which must be empty. Constant time.
    void moveFrontTo(ChunkedQueue& other) {
        if (empty()) {
            return;
        }
        const std::size_t count = first_->end - first_->begin;
        std::unique_ptr<Chunk> chunk = detachFirst();
        size_ -= count;
        // The chunk is exchanged for the emptied one that `other` still has, or for a spare one.
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

    /// Keeps a chunk for later use, or frees it if enough are kept.
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
