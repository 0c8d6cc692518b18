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

/// Routes notes from one port to another while it exists; may still be starting.
struct RunningRouter {
    std::shared_ptr<void> life;
    /// Its PID, a child of this process; no value if the kernel itself routes.
    std::optional<pid_t> process{};
};

/// One of the routers that are compared.
struct Router {
    std::string name;
    /// Starts it between the ports of two peers. Throws if it cannot be started.
    std::function<RunningRouter(tests::SequencerPeer& sender, tests::SequencerAddress source,
                                tests::SequencerAddress destination)>
        start;
};

/// The name of the router that has limits.
inline constexpr const char* kCorvelName = "corvel --headless";

/// The name of the router that works by a timer: its calls for a note cannot be separated from those of the timer.
inline constexpr const char* kMidishName = "midish";

/// Names of the ports between which the routers are started; Corvel finds them by name.
inline constexpr const char* kSenderName = "Wire Sender";
inline constexpr const char* kReceiverName = "Wire Receiver";
inline constexpr const char* kPortName = "Port";

/// The channel (from 1) to which every capable router forces the notes.
inline constexpr int kForcedChannel = 10;

/// All routers: a kernel subscription, the minimal router, midish and Corvel. `programs` is the folder with
/// `minimal_router`; `corvel` is the program. Throws if one of them is missing.
[[nodiscard]] std::vector<Router> makeRouters(const std::filesystem::path& programs,
                                              const std::filesystem::path& corvel);

}  // namespace corvel::benchmarks
