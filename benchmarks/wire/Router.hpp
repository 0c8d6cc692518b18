#pragma once

#include "tests/support/ChildProcess.hpp"
#include "tests/support/SequencerPeer.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvel::benchmarks {

/// What carries notes from one port to another while it exists; not yet at work when it is made.
using RunningRouter = std::shared_ptr<void>;

/// One of the competitors.
struct Router {
    std::string name;
    /// Puts it between the ports of two peers. Throws if it cannot be started.
    std::function<RunningRouter(tests::SequencerPeer& sender, tests::SequencerAddress source,
                                tests::SequencerAddress destination)>
        start;
};

/// Names of the ports between which the routers are put; Corvel finds them by name.
inline constexpr const char* kSenderName = "Wire Sender";
inline constexpr const char* kReceiverName = "Wire Receiver";
inline constexpr const char* kPortName = "Port";

/// The channel (from 1) onto which every router that can puts the notes.
inline constexpr int kForcedChannel = 10;

/// All competitors: a kernel subscription, the least router, midish and Corvel. `programs` is the folder with
/// `least_router`; `corvel` is the program. Throws if one of them is missing.
[[nodiscard]] std::vector<Router> makeRouters(const std::filesystem::path& programs,
                                              const std::filesystem::path& corvel);

}  // namespace corvel::benchmarks
