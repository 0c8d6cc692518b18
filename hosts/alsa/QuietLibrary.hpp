#pragma once

namespace corvel::hosts {

/// Keeps the sequencer's library from writing to standard error on this thread, for as long as it lives: a missing
/// sequencer is an answer, not an accident.
class QuietLibrary {
public:
    QuietLibrary();
    QuietLibrary(const QuietLibrary&) = delete;
    QuietLibrary& operator=(const QuietLibrary&) = delete;
    ~QuietLibrary();
};

}  // namespace corvel::hosts
