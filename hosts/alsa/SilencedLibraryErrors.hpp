#pragma once

namespace corvel::hosts {

/// Keeps the sequencer's library from writing to standard error on this thread, for as long as it lives: a missing
/// sequencer is an answer, not an accident.
class SilencedLibraryErrors {
public:
    SilencedLibraryErrors();
    SilencedLibraryErrors(const SilencedLibraryErrors&) = delete;
    SilencedLibraryErrors& operator=(const SilencedLibraryErrors&) = delete;
    ~SilencedLibraryErrors();
};

}  // namespace corvel::hosts
