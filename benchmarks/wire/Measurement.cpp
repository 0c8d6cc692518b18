#include "benchmarks/wire/Measurement.hpp"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <thread>

namespace corvel::benchmarks {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kNoteInterval{2};
constexpr std::size_t kOutstanding = 64;
constexpr std::chrono::milliseconds kReceiverSleep{20};
/// If nothing arrives for this time, the router has sent everything.
constexpr std::chrono::milliseconds kQuiet{300};
/// Pause between two checks whether the router sleeps.
constexpr std::chrono::microseconds kLook{50};
/// A note that has not arrived by then is lost.
constexpr std::chrono::milliseconds kLatest{100};
/// A note that has not arrived this long after the last one was sent is lost, even if the router is blocked for a
/// while.
constexpr std::chrono::seconds kGivenUp{10};
/// The maximum number of events that the sequencer keeps for a program.
constexpr std::size_t kMaxPool = 2000;
constexpr unsigned kNumbers = 2 * 128 * 127;

pollfd descriptorOf(snd_seq_t* handle) {
    pollfd descriptor{};
    snd_seq_poll_descriptors(handle, &descriptor, 1, POLLIN);
    return descriptor;
}

}  // namespace

Wire::Wire()
    : sender_(kSenderName),
      receiver_(kReceiverName),
      source_(sender_.addPort(kPortName, tests::SequencerPeer::kSource)),
      destination_(receiver_.addPort(kPortName, tests::SequencerPeer::kDestination)) {
    receiver_.setInputPool(kMaxPool);
}

snd_seq_event_t Wire::message(std::size_t number) const {
    const auto pair = static_cast<unsigned>(number / 2);
    snd_seq_event_t event = tests::noteEvent(number % 2 == 0 ? SND_SEQ_EVENT_NOTEON : SND_SEQ_EVENT_NOTEOFF, 0,
                                             pair % 128, pair / 128 % 127 + 1);
    event.source.port = source_.raw().port;
    event.dest = {SND_SEQ_ADDRESS_SUBSCRIBERS, SND_SEQ_ADDRESS_UNKNOWN};
    event.queue = SND_SEQ_QUEUE_DIRECT;
    return event;
}

std::vector<snd_seq_event_t> Wire::burst(std::size_t first, std::size_t count) const {
    std::vector<snd_seq_event_t> messages;
    for (std::size_t number = first; number < first + count; ++number) {
        messages.push_back(message(number));
    }
    return messages;
}

std::size_t Wire::receivedCount() const {
    return static_cast<std::size_t>(std::count(isReceived_.begin(), isReceived_.end(), true));
}

void Wire::send(std::size_t number) {
    snd_seq_event_t event = message(number);
    // An event that the sequencer refuses does not arrive, and arrivals are counted.
    snd_seq_event_output_direct(sender_.handle(), &event);
}

bool Wire::waitForInput(std::chrono::nanoseconds limit) {
    limit = std::max(limit, std::chrono::nanoseconds(0));
    const auto seconds = std::chrono::floor<std::chrono::seconds>(limit);
    const timespec wait{seconds.count(), (limit - seconds).count()};
    pollfd descriptor = descriptorOf(receiver_.handle());
    return ppoll(&descriptor, 1, &wait, nullptr) > 0;
}

bool Wire::record(const snd_seq_event_t& event) {
    const snd_seq_ev_note_t& note = event.data.note;
    std::size_t& lastOfKey = lastOfKey_.at(note.note % lastOfKey_.size());
    if (event.type == SND_SEQ_EVENT_NOTEON && note.velocity > 0) {
        lastOfKey = 2 * (note.note + 128U * (note.velocity - 1U));
        isReceived_.at(lastOfKey) = true;
        return true;
    }
    if (event.type == SND_SEQ_EVENT_NOTEON || event.type == SND_SEQ_EVENT_NOTEOFF) {
        isReceived_.at(lastOfKey + 1) = true;
        return true;
    }
    return false;
}

std::size_t Wire::receivePortion() {
    std::size_t count = 0;
    do {
        snd_seq_event_t* event = nullptr;
        if (snd_seq_event_input(receiver_.handle(), &event) >= 0 && record(*event)) {
            ++count;
        }
    } while (snd_seq_event_input_pending(receiver_.handle(), 0) > 0);
    return count;
}

std::size_t Wire::receive(std::chrono::nanoseconds limit) {
    const auto deadline = steady_clock::now() + limit;
    while (waitForInput(deadline - steady_clock::now())) {
        if (const std::size_t count = receivePortion(); count > 0) {
            return count;
        }
    }
    return 0;
}

void Wire::drain() {
    while (receive(kQuiet) > 0) {
    }
    isReceived_.assign(kNumbers, false);
}

void Wire::waitForRouter() {
    isReceived_.assign(kNumbers, false);
    const auto deadline = steady_clock::now() + tests::kDeadline;
    do {
        send(0);
        send(1);
        if (steady_clock::now() > deadline) {
            throw std::runtime_error("the router passes nothing on");
        }
    } while (receive(kReceiverSleep) == 0);
}

std::vector<std::chrono::nanoseconds> Wire::latencies(std::size_t count) {
    drain();
    std::vector<std::chrono::nanoseconds> times;
    auto next = steady_clock::now();
    for (std::size_t note = 0; note < count; ++note) {
        next += kNoteInterval;
        while (receive(next - steady_clock::now()) > 0) {
        }
        const auto start = steady_clock::now();
        send(2 * note);
        while (!isReceived_[2 * note] && receive(kLatest) > 0) {
        }
        if (isReceived_[2 * note]) {
            times.push_back(steady_clock::now() - start);
        }
        send(2 * note + 1);
        // After a note that took long the next ones must not follow in a burst.
        next = std::max(next, steady_clock::now());
    }
    return times;
}

std::size_t Wire::playAlone(std::size_t count, std::chrono::nanoseconds interval,
                            const std::function<bool()>& isRouterAtRest) {
    drain();
    auto next = steady_clock::now();
    for (std::size_t number = 0; number < count; ++number) {
        next = std::max(next + interval, steady_clock::now());
        while (receive(next - steady_clock::now()) > 0) {
        }
        while (!isRouterAtRest()) {
            static_cast<void>(receive(kLook));
        }
        send(number);
        while (!isReceived_[number] && receive(kGivenUp) > 0) {
        }
    }
    const std::size_t arrived = receivedCount();
    drain();
    return arrived;
}

std::vector<std::chrono::nanoseconds> Wire::steadyLatencies(std::size_t count, std::chrono::nanoseconds interval) {
    drain();
    std::vector<steady_clock::time_point> sentAt;
    std::vector<std::size_t> underWay;
    std::vector<std::chrono::nanoseconds> times;
    const auto start = steady_clock::now();
    const auto timeOf = [&](std::size_t number) { return start + static_cast<std::int64_t>(number) * interval; };
    while (sentAt.size() < count || !underWay.empty()) {
        const bool isAllSent = sentAt.size() == count;
        const std::size_t arrived = receive(isAllSent ? kGivenUp : timeOf(sentAt.size()) - steady_clock::now());
        const auto now = steady_clock::now();
        std::erase_if(underWay, [&](std::size_t number) {
            if (isReceived_[number]) {
                times.emplace_back(now - sentAt[number]);
            }
            return isReceived_[number];
        });
        if (isAllSent && arrived == 0) {
            break;
        }
        for (std::size_t number = sentAt.size(); number < count && timeOf(number) <= now; ++number) {
            sentAt.push_back(steady_clock::now());
            underWay.push_back(number);
            send(number);
        }
    }
    return times;
}

void Wire::sendTogether(std::size_t first, std::size_t count) {
    isReceived_.assign(kNumbers, false);
    const std::vector<snd_seq_event_t> messages = burst(first, std::min(count, kBatch));
    const auto size = static_cast<ssize_t>(messages.size() * sizeof(snd_seq_event_t));
    if (write(descriptorOf(sender_.handle()).fd, messages.data(), static_cast<std::size_t>(size)) != size) {
        throw std::runtime_error("the sequencer did not take all messages at once");
    }
}

bool Wire::receiveTogether(std::size_t count) {
    while (receivedCount() < count && receive(kQuiet) > 0) {
    }
    return receivedCount() == count;
}

double Wire::floodRate(std::size_t count) {
    drain();
    const auto start = steady_clock::now();
    std::size_t sent = 0;
    std::size_t received = 0;
    while (received < count) {
        for (; sent < count && sent - received < kOutstanding; ++sent) {
            send(sent);
        }
        const std::size_t arrived = receive(kQuiet);
        if (arrived == 0) {
            return 0;
        }
        received += arrived;
    }
    return static_cast<double>(count) / std::chrono::duration<double>(steady_clock::now() - start).count();
}

void Wire::receiveBurst(std::size_t count, Receiver receiver) {
    std::size_t received = 0;
    for (std::size_t arrived = 1; received < count && arrived > 0; received += arrived) {
        if (receiver == Receiver::sleeping) {
            std::this_thread::sleep_for(kReceiverSleep);
        }
        arrived = receive(kQuiet);
    }
}

std::size_t Wire::lostOfBurst(std::size_t count, Writing writing, Receiver receiver) {
    drain();
    const std::vector<snd_seq_event_t> messages = burst(0, count);
    std::thread reader([&] { receiveBurst(count, receiver); });
    const int descriptor = descriptorOf(sender_.handle()).fd;
    const std::size_t portion = writing == Writing::batches ? kBatch : 1;
    for (std::size_t sent = 0; sent < count;) {
        const std::size_t size = std::min(portion, count - sent) * sizeof(snd_seq_event_t);
        const ssize_t written = write(descriptor, &messages[sent], size);
        // Messages that the sequencer refuses are skipped: this sender never waits.
        sent += written > 0 ? static_cast<std::size_t>(written) / sizeof(snd_seq_event_t) : 1;
    }
    reader.join();
    return count - receivedCount();
}

RoutedWire::RoutedWire(const Router& router)
    : router_(router.start(wire_.sender(), wire_.source(), wire_.destination())) {
    wire_.waitForRouter();
}

}  // namespace corvel::benchmarks
