#include "hosts/alsa/OutputFlow.hpp"

#include "hosts/alsa/EventCoding.hpp"
#include "hosts/alsa/SequencerClient.hpp"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <limits>
#include <utility>

namespace corvel::hosts {

namespace {

/// Age from which an answer about a client's room is old, because other programs may also send to the client. The
/// shorter age holds if more than a few cells were used since: then there is traffic, and other programs may be as
/// busy.
constexpr std::chrono::milliseconds kOld{10};
constexpr std::chrono::milliseconds kOldInTraffic{1};
constexpr int kFewCells = 8;

/// Bytes of a raw event in each cell after the first.
constexpr unsigned kBytesPerCell = 28;

/// Maximum number of events of a backlog that are sent before other work is done.
constexpr std::size_t kEventsPerTurn = 2'000;

PortAddress destinationOf(const snd_seq_event_t& event) {
    return {event.dest.client, event.dest.port};
}

/// The number of cells that an event needs in its receiver's pool.
int cellsOf(const snd_seq_event_t& event) {
    if (!snd_seq_ev_is_variable(&event)) {
        return 1;
    }
    return 1 + static_cast<int>((event.data.ext.len + kBytesPerCell - 1) / kBytesPerCell);
}

/// Cells left free for other programs that send to the same client: an eighth of its pool, so that a small pool can
/// still be used.
int marginOf(const InputPool& room) {
    return std::max(1, room.size / 8);
}

std::size_t sizeOf(const snd_seq_event_t& event) {
    return snd_seq_ev_is_variable(&event) ? event.data.ext.len : 0;
}

}  // namespace

OutputFlow::OutputFlow(SequencerOutput& output) : output_(output) {
    batch_.reserve(SequencerClient::kMaxEventsPerSend);
    sent_.reserve(SequencerClient::kMaxEventsPerSend);
    statuses_.reserve(SequencerClient::kMaxEventsPerSend);
}

void OutputFlow::send(const PortAddress& destination, std::span<const std::uint8_t> packet, MIDIStatus& status,
                      SteadyTime now) {
    status = kMIDISuccess;
    if (isWaiting()) {
        const auto backlog = waiting_.find(destination);
        if (backlog != waiting_.end() && (backlog->second.events.size() >= kMaxWaitingEvents ||
                                          backlog->second.bytes + packet.size() > kMaxWaitingBytes)) {
            status = -EAGAIN;
            return;
        }
    }
    encodeEvents(packet, [&](snd_seq_event_t& event) {
        snd_seq_ev_set_dest(&event, static_cast<unsigned char>(destination.client),
                            static_cast<unsigned char>(destination.port));
        sendOrKeep(event, status, now);
    });
}

void OutputFlow::sendOrKeep(snd_seq_event_t& event, MIDIStatus& status, SteadyTime now) {
    // Flushed first, because the flush may find that the destination has no room. This event must then wait too.
    if (batch_.size() == SequencerClient::kMaxEventsPerSend) {
        flush(now);
    }
    if ((isWaiting() && waiting_.contains(destinationOf(event))) || !takeRoom(event, now)) {
        keep(event);
        return;
    }
    batch_.push_back(event);
    statuses_.push_back(&status);
}

void OutputFlow::flush(SteadyTime now) {
    for (std::size_t next = 0; next < batch_.size();) {
        int status = 0;
        next += output_.send(std::span(batch_).subspan(next), status);
        if (next == batch_.size()) {
            break;
        }
        if (status == -EAGAIN) {
            keepUnsent(next, destinationOf(batch_[next]));
        } else {
            MIDIStatus& result = *statuses_[next++];
            result = result == kMIDISuccess ? status : result;
        }
    }
    sent_.swap(batch_);
    statuses_.clear();
    // After the write, so that no message waits for the answer.
    for (const snd_seq_event_t& event : sent_) {
        if (const Budget& budget = budgets_[event.dest.client]; budget.isKnown && isOld(budget, now)) {
            ask(event.dest.client, 0, now);
        }
    }
    sent_.clear();
}

bool OutputFlow::isOld(const Budget& budget, SteadyTime now) {
    return now - budget.askedAt > (budget.spent > kFewCells ? kOldInTraffic : kOld);
}

/// Whether the event's client has room for it. If so, reserves the room.
///
/// With an old answer one event is still sent before the client is asked again. So a single note does not wait for the
/// query; `flush` makes it after the write.
bool OutputFlow::takeRoom(const snd_seq_event_t& event, SteadyTime now) {
    Budget& budget = budgets_[event.dest.client];
    const int wanted = cellsOf(event);
    if (!budget.isKnown || budget.cells < wanted || (isOld(budget, now) && std::exchange(budget.isStretched, true))) {
        ask(event.dest.client, wanted, now);
    }
    if (budget.cells < wanted) {
        return false;
    }
    budget.cells -= wanted;
    budget.spent += wanted;
    return true;
}

void OutputFlow::ask(int client, int wanted, SteadyTime now) {
    Budget& budget = budgets_[static_cast<std::size_t>(client)];
    const std::optional<InputPool> room = output_.inputPool(client);
    budget = {.isKnown = true, .cells = std::numeric_limits<int>::max(), .askedAt = now};
    if (!room) {
        return;
    }
    // The events in the batch have reserved their room but not used it yet.
    int promised = 0;
    for (const snd_seq_event_t& event : batch_) {
        promised += event.dest.client == client ? cellsOf(event) : 0;
    }
    budget.cells = room->free - promised - marginOf(*room);
    // If the pool is too small for the event and the margin, the event is sent when the pool is empty. Otherwise it
    // would wait for ever.
    if (budget.cells < wanted && room->free == room->size && promised == 0) {
        budget.cells = wanted;
    }
}

void OutputFlow::keep(const snd_seq_event_t& event) {
    WaitingEvent waiting{event, {}};
    if (snd_seq_ev_is_variable(&event)) {
        const auto* bytes = static_cast<const std::uint8_t*>(event.data.ext.ptr);
        waiting.bytes = MIDIBytes(bytes, bytes + event.data.ext.len);
    }
    Backlog& backlog = waiting_[destinationOf(event)];
    backlog.events.push_back(std::move(waiting));
    backlog.bytes += sizeOf(event);
}

/// Removes the events for a destination without room from the batch, from `first` on, and queues them before its
/// backlog, which came later.
void OutputFlow::keepUnsent(std::size_t first, const PortAddress& destination) {
    budgets_[static_cast<std::size_t>(destination.client)].isKnown = false;
    Backlog later;
    std::swap(later, waiting_[destination]);
    std::size_t kept = first;
    for (std::size_t index = first; index < batch_.size(); ++index) {
        if (destinationOf(batch_[index]) == destination) {
            keep(batch_[index]);
        } else {
            batch_[kept] = batch_[index];
            statuses_[kept++] = statuses_[index];
        }
    }
    batch_.resize(kept);
    statuses_.resize(kept);
    Backlog& backlog = waiting_[destination];
    std::ranges::move(later.events, std::back_inserter(backlog.events));
    backlog.bytes += later.bytes;
}

void OutputFlow::sendWaiting(SteadyTime now) {
    for (auto entry = waiting_.begin(); entry != waiting_.end();) {
        const bool isDone = sendBacklog(entry->second, now);
        entry = isDone ? waiting_.erase(entry) : std::next(entry);
    }
}

bool OutputFlow::sendBacklog(Backlog& backlog, SteadyTime now) {
    bool hasRoom = true;
    for (std::size_t count = 0; hasRoom && count < kEventsPerTurn && !backlog.events.empty(); count += batch_.size()) {
        fillBatch(backlog, now);
        hasRoom = !batch_.empty() && sendBatch(backlog);
    }
    batch_.clear();
    return backlog.events.empty();
}

/// Fills the batch with the backlog's oldest events, as many as there is room for.
void OutputFlow::fillBatch(Backlog& backlog, SteadyTime now) {
    batch_.clear();
    for (WaitingEvent& waiting : backlog.events) {
        if (batch_.size() == SequencerClient::kMaxEventsPerSend || !takeRoom(waiting.event, now)) {
            return;
        }
        if (snd_seq_ev_is_variable(&waiting.event)) {
            waiting.event.data.ext.ptr = waiting.bytes.writable().data();
        }
        batch_.push_back(waiting.event);
    }
}

/// Returns false if the sequencer had no room for them after all.
bool OutputFlow::sendBatch(Backlog& backlog) {
    int status = 0;
    const std::size_t sent = output_.send(batch_, status);
    const bool isUnsent = sent < batch_.size();
    const bool hasFailed = isUnsent && status != -EAGAIN;
    lateFailureCount_ += hasFailed ? 1 : 0;
    for (std::size_t index = 0; index < sent + (hasFailed ? 1 : 0); ++index) {
        backlog.bytes -= sizeOf(backlog.events.front().event);
        backlog.events.pop_front();
    }
    if (isUnsent) {
        // The remaining events have not used their reserved room.
        budgets_[batch_[0].dest.client].isKnown = false;
    }
    return !isUnsent || hasFailed;
}

void OutputFlow::forget(const PortAddress& destination) {
    waiting_.erase(destination);
    budgets_[static_cast<std::size_t>(destination.client)] = {};
}

void OutputFlow::clear() {
    waiting_.clear();
    budgets_ = {};
}

}  // namespace corvel::hosts
