#pragma once

#include "core/storage/RouteStore.hpp"

#include <filesystem>
#include <memory>
#include <optional>

namespace corvel {

/// The store of the connections file that the user named, or of the default one. The demo has its own, so that it never
/// changes the user's sets, and starts with a few connections. If a file cannot be used as it is, says why on standard
/// error.
[[nodiscard]] std::shared_ptr<RouteStore> openStore(const std::optional<std::filesystem::path>& document, bool isDemo);

}  // namespace corvel
