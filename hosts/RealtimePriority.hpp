#pragma once

#include "core/support/EventLoop.hpp"
#include "hosts/RealtimeAlarm.hpp"
#include "hosts/RealtimeBroker.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvel::hosts {

/// Real-time priority for a queue's thread: from the kernel if it grants it, otherwise from a broker.
///
/// If the thread uses its processor for so long that it loses the priority, requests it again later. Everything except
/// the constructor runs on the queue.
class RealtimePriority : public std::enable_shared_from_this<RealtimePriority> {
public:
    /// Receives a line for the diagnostic log, on the queue, for each grant, refusal and loss.
    using DiagnosticHandler = std::function<void(std::string)>;

    /// Time at ordinary priority after a loss.
    static constexpr std::chrono::milliseconds kRetryDelay{10'000};

    /// Without a broker, asks only the kernel.
    RealtimePriority(const std::shared_ptr<EventLoop>& queue, RealtimeBroker broker,
                     std::chrono::milliseconds retryDelay = kRetryDelay);
    RealtimePriority(const RealtimePriority&) = delete;
    RealtimePriority& operator=(const RealtimePriority&) = delete;
    ~RealtimePriority() = default;

    /// Requests the priority. The queue continues meanwhile, because a broker may take seconds.
    void request(DiagnosticHandler diagnose);
    /// Stops watching, and calls no handler any more. The thread keeps its priority.
    void end();

private:
    void ask();
    void finish(const std::string& refusal, const RealtimeAnswer& answer);
    void watch();
    void handleAlarm();

    const std::weak_ptr<EventLoop> queue_;
    const RealtimeBroker broker_;
    const std::chrono::milliseconds retryDelay_;
    DiagnosticHandler diagnose_;
    std::optional<RealtimeAlarm> alarm_;
};

}  // namespace corvel::hosts
