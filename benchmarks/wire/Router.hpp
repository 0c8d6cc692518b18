#pragma once

#include "tests/support/SequencerPeer.hpp"

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvel::benchmarks {

/// What carries notes from one port to another while it exists; not yet at work when it is made.
struct RunningRouter {
    std::shared_ptr<void> life;
    /// Its process, a child of this one; none where the kernel itself routes.
    std::optional<pid_t> process{};
};

/// One of the competitors.
struct Router {
    std::string name;
    /// Puts it between the ports of two peers. Throws if it cannot be started.
    std::function<RunningRouter(tests::SequencerPeer& sender, tests::SequencerAddress source,
                                tests::SequencerAddress destination)>
        start;
};

/// The name of the competitor that is held against limits.
inline constexpr const char* kCorvelName = "corvel --headless";

/// The name of one that works by a timer: what it does for a note alone cannot be told from what it does anyway.
inline constexpr const char* kMidishName = "midish";

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
