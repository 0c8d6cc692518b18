#pragma once

#include "hosts/jack/JackLibrary.hpp"

#include <memory>

namespace corvel::hosts {

/// libjack, be it JACK's or PipeWire's. Silences what the library would write to standard error.
[[nodiscard]] std::shared_ptr<JackLibrary> makeLibJack();

/// Whether a server runs. Waits for the answer for two seconds at most; a server that gives none does not count.
[[nodiscard]] bool jackServerRuns();

}  // namespace corvel::hosts
