#pragma once

#include "program/Router.hpp"
#include "program/TerminationSignals.hpp"

#include <functional>

namespace corvel {

/// Runs Qt's event loop by `exec` until the program is to end. Then delivers the engine's last reports, for at most
/// half a second, and within that time also waits until `isWritten` returns true.
void runMainLoop(
    const Router& router, const TerminationSignals& termination, int (*exec)(),
    const std::function<bool()>& isWritten = [] { return true; });

}  // namespace corvel
