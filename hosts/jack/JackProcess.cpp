#include "hosts/jack/JackProcess.hpp"

#include <algorithm>
#include <utility>

namespace corvel::hosts {

namespace {

/// Events are planned one period ahead, and a period has at most 8,192 frames. An event that is farther ahead was
/// planned before the clock was set.
constexpr std::int32_t kMaxFramesAhead = 32'768;

}  // namespace

JackProcess::JackProcess(void (*wakeUp)(void* argument), void* argument) : wakeUp_(wakeUp), argument_(argument) {}

JackProcess::~JackProcess() = default;

void JackProcess::process(JackBuffers& buffers, std::uint32_t frames) {
    Table* const table = table_.load(std::memory_order_acquire);
    const std::uint32_t start = buffers.periodStart();
    if (expectedStart_ && start != *expectedStart_) {
        skipCount_.fetch_add(1, std::memory_order_relaxed);
    }
    expectedStart_ = start + frames;
    if (table != nullptr && frames > 0) {
        readInputs(buffers, *table, start, frames);
        for (const JackOutput& output : table->outputs) {
            writeOutput(buffers, output, start, frames);
        }
        usedGeneration_.store(table->generation, std::memory_order_release);
    }
    periodCount_.fetch_add(1, std::memory_order_release);
}

/// Moves a cursor to the next event with bytes. Returns false at the end.
bool JackProcess::advance(JackBuffers& buffers, Cursor& cursor, std::uint32_t frames) {
    const std::uint32_t earliest = cursor.event.time;
    while (cursor.index < cursor.count) {
        if (buffers.event(cursor.buffer, cursor.index++, cursor.event) && !cursor.event.bytes.empty()) {
            // Events stay in the order in which they were written, whatever their times are.
            cursor.event.time = std::min(std::max(cursor.event.time, earliest), frames - 1);
            return true;
        }
        cursor.event.time = earliest;
    }
    return false;
}

void JackProcess::readInputs(JackBuffers& buffers, Table& table, std::uint32_t start, std::uint32_t frames) {
    std::size_t active = 0;
    for (const JackInput& input : table.inputs) {
        void* const buffer = buffers.buffer(input.port, frames);
        const std::uint32_t count = buffer != nullptr ? buffers.eventCount(buffer) : 0;
        Cursor& cursor = table.cursors[active];
        cursor = {.buffer = buffer, .tag = input.tag, .index = 0, .count = count, .event = {}};
        if (advance(buffers, cursor, frames)) {
            ++active;
        }
    }
    const bool hasArrived = active > 0;
    const auto begin = table.cursors.begin();
    while (active > 0) {
        const auto end = begin + static_cast<std::ptrdiff_t>(active);
        const auto next = std::min_element(
            begin, end, [](const Cursor& left, const Cursor& right) { return left.event.time < right.event.time; });
        const JackInputHeader header{.tag = next->tag,
                                     .frame = start + next->event.time + frames,
                                     .size = static_cast<std::uint32_t>(next->event.bytes.size())};
        if (!input_.push(header, next->event.bytes)) {
            lostInputCount_.fetch_add(1, std::memory_order_relaxed);
        }
        if (!advance(buffers, *next, frames)) {
            // The others keep their order, so that of two events at the same frame that of the first port comes first.
            std::move(next + 1, end, next);
            --active;
        }
    }
    if (hasArrived) {
        wakeUp_(argument_);
    }
}

void JackProcess::writeOutput(JackBuffers& buffers, const JackOutput& output, std::uint32_t start,
                              std::uint32_t frames) {
    void* const buffer = buffers.buffer(output.port, frames);
    if (buffer == nullptr) {
        return;
    }
    buffers.clear(buffer);
    maxEventSize_.store(buffers.maxEventSize(buffer), std::memory_order_relaxed);
    std::uint32_t time = 0;
    bool isEmpty = true;
    while (const JackOutputHeader* const header = output.lane->next()) {
        const std::int32_t ahead = header->isTimed != 0 ? static_cast<std::int32_t>(header->frame - start) : 0;
        if (ahead >= static_cast<std::int32_t>(frames) && ahead < kMaxFramesAhead) {
            return;
        }
        if (ahead > 0 && ahead < kMaxFramesAhead) {
            time = std::max(time, static_cast<std::uint32_t>(ahead));
        }
        const std::size_t size = header->size;
        if (std::uint8_t* const room = buffers.reserve(buffer, time, size); room != nullptr) {
            output.lane->take({room, size});
            isEmpty = false;
        } else if (isEmpty) {
            output.lane->skip();
            lostOutputCount_.fetch_add(1, std::memory_order_relaxed);
        } else {
            return;
        }
    }
}

void JackProcess::setPorts(std::vector<JackInput> inputs, std::vector<JackOutput> outputs) {
    auto table = std::make_unique<Table>();
    table->generation = ++generation_;
    table->cursors.resize(inputs.size());
    table->inputs = std::move(inputs);
    table->outputs = std::move(outputs);
    table_.store(table.get(), std::memory_order_release);
    tables_.push_back(std::move(table));
}

bool JackProcess::isUsingLatest() {
    if (usedGeneration_.load(std::memory_order_acquire) < generation_) {
        return false;
    }
    // A period that began later cannot use an older table.
    tables_.erase(tables_.begin(), tables_.empty() ? tables_.begin() : tables_.end() - 1);
    return true;
}

void JackProcess::clearPorts() {
    expectedStart_.reset();
    table_.store(nullptr, std::memory_order_release);
    tables_.clear();
    usedGeneration_.store(generation_, std::memory_order_release);
}

}  // namespace corvel::hosts
