#include "core/engine/CoreMIDIRouterEngine.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <utility>

namespace corvel {

namespace {

constexpr std::uint8_t kController = 0xB0;
constexpr std::uint8_t kChannelCount = 16;

/// The controllers that silence a channel: sustain off, All Notes Off, All Sound Off.
constexpr std::array<std::uint8_t, 3> kSilencingControllers{64, 123, 120};

std::deque<MIDIBytes> silencingMessages(const std::vector<MIDIBytes>& endings) {
    std::deque<MIDIBytes> messages(endings.begin(), endings.end());
    for (std::uint8_t channel = 0; channel < kChannelCount; ++channel) {
        for (const std::uint8_t controller : kSilencingControllers) {
            messages.push_back({static_cast<std::uint8_t>(kController | channel), controller, 0});
        }
    }
    return messages;
}

}  // namespace

void CoreMIDIRouterEngine::setReleasesHeldNotes(bool releases) {
    queue_->async([weakEngine = weak_from_this(), releases] {
        if (const auto engine = weakEngine.lock()) {
            engine->routeTable_.setFollowsHeldNotes(releases);
        }
    });
}

void CoreMIDIRouterEngine::endHeldNotes(std::span<const RouteTable::Ending> endings) {
    for (const RouteTable::Ending& ending : endings) {
        sendUnrouted(ending.destination, ending.destinationID, ending.messages);
        logDiagnostic("Released held notes: " + std::to_string(ending.messages.size()) + " messages");
    }
}

/// Sends messages without a source. They make no activity, because activities belong to connections.
void CoreMIDIRouterEngine::sendUnrouted(MIDIObjectRef destination, std::int32_t destinationID,
                                        std::span<const MIDIBytes> messages) {
    std::vector<MIDISend> sends;
    while (!messages.empty()) {
        const auto next = messages.first(std::min(messages.size(), kMessagesPerSend));
        messages = messages.subspan(next.size());
        sends.clear();
        for (const MIDIBytes& bytes : next) {
            sends.push_back({.destination = destination, .bytes = bytes});
        }
        host_->send(outputPort_, sends);
        for (const MIDISend& send : sends) {
            if (send.status != kMIDISuccess) {
                reportSendFailure(destinationID, send.status);
            }
        }
    }
}

void CoreMIDIRouterEngine::silence(std::vector<std::int32_t> destinationIDs, std::function<void()> onDone) {
    queue_->async([weakEngine = weak_from_this(), destinationIDs = std::move(destinationIDs),
                   onDone = std::move(onDone)]() mutable {
        if (const auto engine = weakEngine.lock()) {
            engine->silenceOnQueue(destinationIDs, std::move(onDone));
        }
    });
}

void CoreMIDIRouterEngine::silenceOnQueue(std::span<const std::int32_t> destinationIDs, std::function<void()> onDone) {
    const bool isUnderWay = !silencing_.empty();
    for (const std::int32_t id : destinationIDs) {
        if (isStarted_ && routeTable_.destinationRef(id) != 0) {
            // A destination that is already being silenced starts again, because notes may have been sent since.
            silencing_[id] = silencingMessages(routeTable_.takeEndings(id));
        }
    }
    if (onDone) {
        silencingDone_.push_back(std::move(onDone));
    }
    if (!isUnderWay) {
        sendNextSilencing();
    }
}

/// One message to each destination that is being silenced.
void CoreMIDIRouterEngine::sendNextSilencing() {
    for (auto entry = silencing_.begin(); entry != silencing_.end();) {
        auto& [destinationID, messages] = *entry;
        const MIDIObjectRef destination = routeTable_.destinationRef(destinationID);
        if (destination != 0) {
            sendUnrouted(destination, destinationID, std::span(&messages.front(), 1));
            messages.pop_front();
        }
        entry = destination == 0 || messages.empty() ? silencing_.erase(entry) : std::next(entry);
    }
    if (!silencing_.empty()) {
        queue_->asyncAfter(kSilencePause, std::make_shared<DispatchWorkItem>([weakEngine = weak_from_this()] {
                               if (const auto engine = weakEngine.lock()) {
                                   engine->sendNextSilencing();
                               }
                           }));
        return;
    }
    for (std::function<void()>& onDone : std::exchange(silencingDone_, {})) {
        mainQueue_->async(std::move(onDone));
    }
}

}  // namespace corvel
