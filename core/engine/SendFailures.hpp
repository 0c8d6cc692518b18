#pragma once

#include "core/host/MIDIHost.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvel {

/// Counts failed sends, so that a receiver that rejects everything causes one report a second instead of one for each
/// message. One thread at a time.
class SendFailures {
public:
    /// The text of a failed send, without its status.
    [[nodiscard]] static std::string_view message(MIDIStatus status);

    /// Counts a failure. Returns whether to report it at once: it is the first of its kind to this destination after an
    /// interval without one.
    [[nodiscard]] bool add(std::int32_t destinationID, MIDIStatus status);

    /// Ends an interval. Returns the text of each failure that was repeated in it, with the count, and forgets the
    /// others.
    [[nodiscard]] std::vector<std::string> takeRepeated();

    /// Whether no failure is being watched for repetitions.
    [[nodiscard]] bool empty() const { return repetitions_.empty(); }

private:
    /// Repetitions since the last report, by destination and status.
    std::map<std::pair<std::int32_t, MIDIStatus>, std::size_t> repetitions_;
};

}  // namespace corvel
