#pragma once

namespace corvel::hosts {

/// While it exists, keeps the sequencer's library from writing to standard error on this thread: a missing sequencer is
/// not an error.
class SilencedLibraryErrors {
public:
    SilencedLibraryErrors();
    SilencedLibraryErrors(const SilencedLibraryErrors&) = delete;
    SilencedLibraryErrors& operator=(const SilencedLibraryErrors&) = delete;
    ~SilencedLibraryErrors();
};

}  // namespace corvel::hosts
