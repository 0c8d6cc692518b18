#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace corvel {

/// Why a connections document cannot be read from this file; no value if it can.
///
/// The store itself never complains, so that a bad file cannot keep the program from starting, but somebody who names a
/// file wants to know. Reads as the store does: what is no regular file cannot be read. Any thread.
[[nodiscard]] std::optional<std::string> documentProblem(const std::filesystem::path& file);

}  // namespace corvel
