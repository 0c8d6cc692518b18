#pragma once

#include "core/storage/RouteStore.hpp"

#include <filesystem>
#include <memory>
#include <optional>

namespace corvel {

/// The store of the connections file that the user named, or of the usual one; the demo has one of its own, so that it
/// never touches the user's sets, and begins with a few connections. Says on standard error why a file cannot be used
/// as it is.
[[nodiscard]] std::shared_ptr<RouteStore> openStore(const std::optional<std::filesystem::path>& document, bool isDemo);

}  // namespace corvel
