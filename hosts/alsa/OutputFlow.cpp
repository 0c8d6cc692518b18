#include "hosts/alsa/OutputFlow.hpp"

#include "hosts/alsa/EventCoding.hpp"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <limits>
#include <utility>

namespace corvel::hosts {

namespace {

/// How long an answer about a client's room counts before the next send has to ask: others may send to it too.
constexpr std::chrono::milliseconds kBudgetLifetime{100};

/// How old an answer may be after a send, as long as little was sent on it. Asking then costs the message no time, but
/// its receiver may have to wait for the processor.
constexpr std::chrono::milliseconds kBudgetRefresh{10};

/// How old it may be once more than so many cells were taken: others who send there as well may be just as busy.
constexpr std::chrono::milliseconds kBusyBudgetRefresh{1};
constexpr int kLittle = 8;

/// Bytes of an exclusive message that one cell beyond the first holds.
constexpr unsigned kBytesPerCell = 28;

/// Cells that an event takes in its receiver's pool.
int cellsOf(const snd_seq_event_t& event) {
    if (!snd_seq_ev_is_variable(&event)) {
        return 1;
    }
    return 1 + static_cast<int>((event.data.ext.len + kBytesPerCell - 1) / kBytesPerCell);
}

/// Cells left to others who send to the same client: an eighth of what it has, so that a small pool is still used.
int marginOf(const InputRoom& room) {
    return std::max(1, room.size / 8);
}

std::size_t sizeOf(const snd_seq_event_t& event) {
    return snd_seq_ev_is_variable(&event) ? event.data.ext.len : 0;
}

}  // namespace

MIDIStatus OutputFlow::send(const PortAddress& destination, std::span<const std::uint8_t> packet) {
    if (const auto backlog = waiting_.find(destination);
        backlog != waiting_.end() && (backlog->second.events.size() >= kMaximumWaitingEvents ||
                                      backlog->second.bytes + packet.size() > kMaximumWaitingBytes)) {
        return -EAGAIN;
    }
    MIDIStatus status = kMIDISuccess;
    encodeEvents(packet, [&](snd_seq_event_t& event) {
        const MIDIStatus sent = sendOrKeep(destination, event);
        status = status == kMIDISuccess ? sent : status;
    });
    return status;
}

MIDIStatus OutputFlow::sendOrKeep(const PortAddress& destination, snd_seq_event_t& event) {
    Budget& budget = budgets_[destination.client];
    const SteadyTime now = sink_.now();
    if (waiting_.contains(destination) || !takeRoom(destination.client, budget, event, now)) {
        keep(destination, event);
        return kMIDISuccess;
    }
    const int result = sink_.sendDirectly(destination, event);
    if (result == -EAGAIN) {
        budgets_.erase(destination.client);
        keep(destination, event);
        return kMIDISuccess;
    }
    if (now - budget.askedAt > (budget.spent > kLittle ? kBusyBudgetRefresh : kBudgetRefresh)) {
        ask(destination.client, budget, 0);
    }
    return result < 0 ? result : kMIDISuccess;
}

bool OutputFlow::takeRoom(int client, Budget& budget, const snd_seq_event_t& event, SteadyTime now) {
    const int wanted = cellsOf(event);
    if (budget.cells < wanted || now - budget.askedAt > kBudgetLifetime) {
        ask(client, budget, wanted);
    }
    if (budget.cells < wanted) {
        return false;
    }
    budget.cells -= wanted;
    budget.spent += wanted;
    return true;
}

void OutputFlow::ask(int client, Budget& budget, int wanted) {
    const std::optional<InputRoom> room = sink_.inputRoom(client);
    budget.askedAt = sink_.now();
    budget.spent = 0;
    if (!room) {
        budget.cells = std::numeric_limits<int>::max();
        return;
    }
    budget.cells = room->free - marginOf(*room);
    // A pool too small for the event and the margin takes it when it is empty, or it would wait for ever.
    if (budget.cells < wanted && room->free == room->size) {
        budget.cells = wanted;
    }
}

void OutputFlow::keep(const PortAddress& destination, const snd_seq_event_t& event) {
    WaitingEvent waiting{event, {}};
    if (snd_seq_ev_is_variable(&event)) {
        const auto* bytes = static_cast<const std::uint8_t*>(event.data.ext.ptr);
        waiting.bytes.assign(bytes, bytes + event.data.ext.len);
    }
    Backlog& backlog = waiting_[destination];
    backlog.events.push_back(std::move(waiting));
    backlog.bytes += sizeOf(event);
}

void OutputFlow::sendWaiting() {
    for (auto entry = waiting_.begin(); entry != waiting_.end();) {
        const bool isDone = sendBacklog(entry->first, entry->second);
        entry = isDone ? waiting_.erase(entry) : std::next(entry);
    }
}

bool OutputFlow::sendBacklog(const PortAddress& destination, Backlog& backlog) {
    while (!backlog.events.empty()) {
        WaitingEvent& next = backlog.events.front();
        if (snd_seq_ev_is_variable(&next.event)) {
            next.event.data.ext.ptr = next.bytes.data();
        }
        if (!takeRoom(destination.client, budgets_[destination.client], next.event, sink_.now())) {
            return false;
        }
        const int result = sink_.sendDirectly(destination, next.event);
        if (result == -EAGAIN) {
            budgets_.erase(destination.client);
            return false;
        }
        lateFailureCount_ += result < 0 ? 1 : 0;
        backlog.bytes -= sizeOf(next.event);
        backlog.events.pop_front();
    }
    return true;
}

void OutputFlow::forget(const PortAddress& destination) {
    waiting_.erase(destination);
    budgets_.erase(destination.client);
}

}  // namespace corvel::hosts
