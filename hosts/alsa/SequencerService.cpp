#include "hosts/alsa/SequencerService.hpp"

#include "hosts/alsa/ObjectReference.hpp"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

namespace corvel::hosts {

namespace {

using namespace std::chrono_literals;

/// Time limit for sending waiting events when the client closes.
constexpr auto kCloseLimit = 250ms;

/// Time between two attempts to open the sequencer again.
constexpr auto kReopenInterval = 1s;

/// The numbers in the references of the own ports. They stay the same when the sequencer is opened again.
constexpr int kInputPortNumber = 1;
constexpr int kOutputPortNumber = 2;

std::string textOf(int status) {
    return std::system_category().message(-status);
}

}  // namespace

SequencerService::SequencerService(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue,
                                   RealtimeBroker realtimeBroker)
    : queue_(std::move(queue)),
      notifications_(std::make_shared<SetupNotifications>(queue_, std::move(mainQueue))),
      priority_(std::make_shared<RealtimePriority>(queue_, std::move(realtimeBroker))),
      registry_([](int card) { return readSoundCard(card); }) {}

void SequencerService::post(void (SequencerService::*operation)()) {
    queue_->async([weakService = weak_from_this(), operation] {
        if (const auto service = weakService.lock()) {
            (*service.*operation)();
        }
    });
}

void SequencerService::postAfter(std::chrono::nanoseconds delay, void (SequencerService::*operation)()) {
    queue_->asyncAfter(delay, std::make_shared<DispatchWorkItem>([weakService = weak_from_this(), operation] {
                           if (const auto service = weakService.lock()) {
                               (*service.*operation)();
                           }
                       }));
}

void SequencerService::diagnose(std::string message, MIDIStatus status) const {
    if (reportDiagnostic_) {
        reportDiagnostic_(std::move(message), status);
    }
}

// Client and ports

void SequencerService::adopt(std::unique_ptr<SequencerClient> client, MIDIHost::NotificationHandler handler) {
    client_ = std::move(client);
    notifications_->setHandler(std::move(handler));
    follow();
    priority_->request([weakService = weak_from_this()](std::string message) {
        if (const auto service = weakService.lock()) {
            service->diagnose(std::move(message));
        }
    });
}

/// Starts reading the client and receiving the sequencer's announcements.
void SequencerService::follow() {
    // From now on, announcements keep the list of ports up to date. Ports seen before may have been replaced without an
    // announcement.
    registry_.clear();
    mayHaveMissedPorts_ = true;
    isReadable_ = true;
    announcementPort_ = client_->createHiddenPort("Corvel Announcements", SND_SEQ_PORT_CAP_WRITE);
    const int status =
        announcementPort_ < 0
            ? announcementPort_
            : client_->subscribeFrom(announcementPort_, {SND_SEQ_CLIENT_SYSTEM, SND_SEQ_PORT_SYSTEM_ANNOUNCE});
    if (status < 0) {
        diagnose("Changes of the MIDI setup cannot be followed: " + textOf(status));
    }
    const auto callOnService = [weakService = weak_from_this()](void (SequencerService::*operation)()) {
        return [weakService, operation] {
            if (const auto service = weakService.lock()) {
                (*service.*operation)();
            }
        };
    };
    queue_->watch(client_->descriptor(), callOnService(&SequencerService::readForThisRound),
                  callOnService(&SequencerService::runTurn));
}

MIDICreation SequencerService::createInputPort(std::string_view name, MIDIHost::ReceiveHandler handler) {
    const int port = client_ ? client_->createHiddenPort(name, SND_SEQ_PORT_CAP_WRITE) : -ENODEV;
    if (port < 0) {
        return {.status = port};
    }
    inputPort_ = port;
    inputPortName_ = name;
    receiveHandler_ = std::move(handler);
    return {.ref = objectReference(ObjectKind::port, kInputPortNumber)};
}

MIDICreation SequencerService::createOutputPort(std::string_view name) {
    const int port = client_ ? client_->createHiddenPort(name, SND_SEQ_PORT_CAP_READ) : -ENODEV;
    if (port < 0) {
        return {.status = port};
    }
    outputPort_ = port;
    outputPortName_ = name;
    client_->setOutputPort(port);
    return {.ref = objectReference(ObjectKind::port, kOutputPortNumber)};
}

void SequencerService::disposePort(MIDIObjectRef port) {
    if (objectNumber(port) == kInputPortNumber) {
        receiveHandler_ = nullptr;
        inputPortName_.reset();
        subscriptions_.clear();
        if (client_ && inputPort_ >= 0) {
            client_->deletePort(inputPort_);
        }
        inputPort_ = -1;
    }
    // The output port is closed with the client, which still sends waiting events.
}

void SequencerService::disposeClient() {
    notifications_->setHandler(nullptr);
    outputPortName_.reset();
    priority_->end();
    if (!client_) {
        return;
    }
    const auto deadline = std::chrono::steady_clock::now() + kCloseLimit;
    for (auto now = std::chrono::steady_clock::now(); flow_.isWaiting() && now < deadline;
         now = std::chrono::steady_clock::now()) {
        flow_.sendWaiting(now);
        if (flow_.isWaiting()) {
            std::this_thread::sleep_for(kRetryDelay);
        }
    }
    closeClient();
}

/// Opens the client again in a later task, because the caller may still be using the old one.
void SequencerService::noteReadFailure(int status) {
    isReadable_ = false;
    diagnose("MIDI can no longer be read: " + textOf(status) + "; the sequencer is opened again");
    post(&SequencerService::reopen);
}

void SequencerService::reopen() {
    if (isReadable_ || !notifications_->hasHandler()) {
        return;
    }
    closeClient();
    int status = 0;
    client_ = SequencerClient::open(kClientName, status);
    if (client_) {
        follow();
        status = openPortsAgain();
    }
    if (status < 0) {
        closeClient();
        if (!std::exchange(hasReportedClosed_, true)) {
            diagnose("MIDI client could not be created", status);
        }
        postAfter(kReopenInterval, &SequencerService::reopen);
        return;
    }
    hasReportedClosed_ = false;
    diagnose("The sequencer is open again");
    notifications_->add({.messageID = MIDINotification::kIOError});
    notifications_->send();
}

/// Closes the client and forgets its state. What was read is still delivered.
void SequencerService::closeClient() {
    if (client_) {
        queue_->unwatch(client_->descriptor());
    }
    client_.reset();
    isReadable_ = false;
    registry_.clear();
    announcements_.clear();
    unreadyPorts_.clear();
    subscriptions_.clear();
    outputSubscriptions_.clear();
    flow_.clear();
    // The turn of this round was cancelled with the watch.
    isTurnScheduled_ = false;
    scheduleTurn();
}

/// Creates the ports of the old client on the new one.
int SequencerService::openPortsAgain() {
    if (inputPortName_) {
        inputPort_ = client_->createHiddenPort(*inputPortName_, SND_SEQ_PORT_CAP_WRITE);
    }
    if (outputPortName_) {
        outputPort_ = client_->createHiddenPort(*outputPortName_, SND_SEQ_PORT_CAP_READ);
        client_->setOutputPort(outputPort_);
    }
    return std::min({0, inputPortName_ ? inputPort_ : 0, outputPortName_ ? outputPort_ : 0});
}

}  // namespace corvel::hosts
