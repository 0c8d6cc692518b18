#pragma once

#include "hosts/jack/JackLibrary.hpp"

#include <memory>

namespace corvel::hosts {

/// libjack of JACK or PipeWire. Suppresses the library's messages on standard error.
[[nodiscard]] std::shared_ptr<JackLibrary> makeLibJack();

/// Whether a server runs. Waits at most two seconds for its answer; a server that does not answer does not count.
[[nodiscard]] bool jackServerRuns();

}  // namespace corvel::hosts
