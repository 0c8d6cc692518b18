#include "hosts/jack/JackMIDIHost.hpp"

#include "core/support/ApplicationIdentifier.hpp"
#include "hosts/jack/JackProcess.hpp"
#include "hosts/jack/JackService.hpp"
#include "hosts/jack/JackWorker.hpp"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace corvel::hosts {

namespace {

constexpr MIDIObjectRef kClientRef = 1;
constexpr MIDIObjectRef kInputPortRef = 2;
constexpr MIDIObjectRef kOutputPortRef = 3;

/// Maximum time to wait for the server's answer where it is needed at once: at the start, for a list of endpoints
/// without a client, and at the end. Only a server that hangs takes longer.
constexpr std::chrono::seconds kAnswerLimit{3};

/// An event descriptor.
class Bell {
public:
    Bell() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (descriptor_ < 0) {
            throw std::system_error(errno, std::generic_category(), "eventfd");
        }
    }
    Bell(const Bell&) = delete;
    Bell& operator=(const Bell&) = delete;
    ~Bell() { ::close(descriptor_); }

    [[nodiscard]] int descriptor() const { return descriptor_; }

    static void ring(void* bell) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t size = ::write(static_cast<Bell*>(bell)->descriptor_, &one, sizeof one);
    }

private:
    const int descriptor_;
};

/// The state that the callback uses; it exists while the callback may be called.
struct BelledProcess {
    Bell bell;
    JackProcess process{&Bell::ring, &bell};
};

class JackMIDIHost final : public MIDIHost {
public:
    JackMIDIHost(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue,
                 std::shared_ptr<JackLibrary> library, bool leavesOutALSAMirrors,
                 std::shared_ptr<RealtimePriority> priority)
        : queue_(queue),
          priority_(std::move(priority)),
          workerQueue_(EventLoop::withThread(std::string(kApplicationIdentifier) + ".jack")) {
        const std::shared_ptr<JackProcess> process(process_, &process_->process);
        const auto weakService = std::make_shared<std::weak_ptr<JackService>>();
        worker_ = std::make_shared<JackWorker>(
            workerQueue_, std::move(library), process,
            JackWorker::Handlers{
                .onSnapshot =
                    [weakQueue = std::weak_ptr<EventLoop>(queue), weakService](JackSnapshot snapshot) {
                        if (const auto engineQueue = weakQueue.lock()) {
                            engineQueue->async([weakService, snapshot = std::move(snapshot)]() mutable {
                                if (const auto service = weakService->lock()) {
                                    service->takeSnapshot(std::move(snapshot));
                                }
                            });
                        }
                    },
                .onDiagnostic = [diagnostics =
                                     diagnostics_](std::string message) { diagnostics->report(std::move(message)); }});
        const auto onWorker = [workerQueue = workerQueue_, weakWorker = std::weak_ptr(worker_)](auto operation) {
            workerQueue->async([weakWorker, operation = std::move(operation)]() mutable {
                if (const auto worker = weakWorker.lock()) {
                    operation(*worker);
                }
            });
        };
        service_ = std::make_shared<JackService>(
            std::move(queue), std::move(mainQueue), process, leavesOutALSAMirrors,
            JackService::Worker{.setWish =
                                    [onWorker](JackWish wish) {
                                        onWorker([wish = std::move(wish)](JackWorker& worker) mutable {
                                            worker.setWish(std::move(wish));
                                        });
                                    },
                                .refresh = [onWorker] { onWorker([](JackWorker& worker) { worker.refresh(); }); }});
        *weakService = service_;
    }
    JackMIDIHost(const JackMIDIHost&) = delete;
    JackMIDIHost& operator=(const JackMIDIHost&) = delete;

    ~JackMIDIHost() override {
        if (isStopping_) {
            stopped_.wait_for(kAnswerLimit);
        }
        // If the library hangs, its thread is abandoned with everything that it uses.
        workerQueue_->async([worker = std::move(worker_), workerQueue = workerQueue_] {});
    }

    void setDiagnosticHandler(DiagnosticHandler handler) override {
        diagnostics_->setHandler(handler);
        service_->setDiagnosticHandler(std::move(handler));
    }

    MIDICreation createClient(std::string_view /*name*/, NotificationHandler handler) override {
        queue_->async([service = service_, process = process_, priority = priority_, diagnostics = diagnostics_,
                       handler = std::move(handler)]() mutable {
            service->open(process->bell.descriptor(), std::move(handler));
            if (priority) {
                priority->request([diagnostics](std::string message) { diagnostics->report(std::move(message)); });
            }
        });
        hasClient_ = true;
        // So that the endpoints of a running server are in the first listing.
        waitForWorker([](JackWorker& worker) {
            worker.start();
            return true;
        });
        return {.ref = kClientRef};
    }

    MIDICreation createInputPort(MIDIObjectRef /*client*/, std::string_view /*name*/, ReceiveHandler handler) override {
        service_->setReceiveHandler(std::move(handler));
        return {.ref = kInputPortRef};
    }
    MIDICreation createOutputPort(MIDIObjectRef /*client*/, std::string_view /*name*/) override {
        return {.ref = kOutputPortRef};
    }

    void disposePort(MIDIObjectRef port) override {
        if (port == kInputPortRef) {
            queue_->async([service = service_] { service->setReceiveHandler(nullptr); });
        }
    }

    void disposeClient(MIDIObjectRef /*client*/) override {
        const auto promise = std::make_shared<std::promise<void>>();
        stopped_ = promise->get_future();
        isStopping_ = true;
        // Posted, so that it runs after the last wish from the engine's queue.
        queue_->async(
            [service = service_, worker = worker_, workerQueue = workerQueue_, priority = priority_, promise] {
                service->close();
                if (priority) {
                    priority->end();
                }
                workerQueue->async([worker, promise] { worker->stop([promise] { promise->set_value(); }); });
            });
    }

    std::shared_ptr<const MIDISetup> setup(MIDIListing listing) override {
        if (!hasClient_) {
            if (std::optional<JackSnapshot> snapshot =
                    waitForWorker([](JackWorker& worker) { return worker.visit(); })) {
                service_->takeSnapshot(*std::move(snapshot));
            }
            return service_->setup(MIDIListing::known);
        }
        return service_->setup(listing);
    }

    MIDIStatus connectSource(MIDIObjectRef /*port*/, MIDIObjectRef source, MIDIObjectRef connection) override {
        return service_->connectSource(source, connection);
    }
    MIDIStatus disconnectSource(MIDIObjectRef /*port*/, MIDIObjectRef source) override {
        return service_->disconnectSource(source);
    }
    void setUsedEndpoints(std::span<const MIDIObjectRef> sources,
                          std::span<const MIDIObjectRef> destinations) override {
        service_->setUsedEndpoints(sources, destinations);
    }
    void send(MIDIObjectRef /*port*/, std::span<MIDISend> messages) override { service_->send(messages); }

private:
    /// The worker reports on its own thread.
    class Diagnostics {
    public:
        void setHandler(DiagnosticHandler handler) {
            const std::lock_guard lock(mutex_);
            handler_ = std::move(handler);
        }
        void report(std::string message) {
            DiagnosticHandler handler;
            {
                const std::lock_guard lock(mutex_);
                handler = handler_;
            }
            if (handler) {
                handler(std::move(message), kMIDISuccess);
            }
        }

    private:
        std::mutex mutex_;
        DiagnosticHandler handler_;
    };

    /// Runs an operation on the worker and waits for the result, up to the limit.
    template <typename Operation>
    auto waitForWorker(Operation operation) -> std::optional<decltype(operation(std::declval<JackWorker&>()))> {
        using Result = decltype(operation(std::declval<JackWorker&>()));
        const auto promise = std::make_shared<std::promise<Result>>();
        std::future<Result> result = promise->get_future();
        workerQueue_->async([worker = worker_, promise, operation] { promise->set_value(operation(*worker)); });
        if (result.wait_for(kAnswerLimit) != std::future_status::ready) {
            return std::nullopt;
        }
        return result.get();
    }

    const std::shared_ptr<EventLoop> queue_;
    const std::shared_ptr<RealtimePriority> priority_;
    const std::shared_ptr<EventLoop> workerQueue_;
    const std::shared_ptr<BelledProcess> process_ = std::make_shared<BelledProcess>();
    const std::shared_ptr<Diagnostics> diagnostics_ = std::make_shared<Diagnostics>();
    std::shared_ptr<JackService> service_;
    std::shared_ptr<JackWorker> worker_;
    /// Set on the main thread before the engine's queue has a port.
    std::atomic<bool> hasClient_ = false;
    bool isStopping_ = false;
    std::future<void> stopped_;
};

}  // namespace

std::shared_ptr<MIDIHost> makeJackMIDIHost(std::shared_ptr<EventLoop> queue, std::shared_ptr<DispatchQueue> mainQueue,
                                           std::shared_ptr<JackLibrary> library, bool leavesOutALSAMirrors,
                                           std::shared_ptr<RealtimePriority> priority) {
    return std::make_shared<JackMIDIHost>(std::move(queue), std::move(mainQueue), std::move(library),
                                          leavesOutALSAMirrors, std::move(priority));
}

}  // namespace corvel::hosts
