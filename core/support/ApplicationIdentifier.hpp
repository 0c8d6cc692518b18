#pragma once

#include <string_view>

namespace corvel {

/// The application's name in the system: queue labels, drag payloads and settings begin with it.
inline constexpr std::string_view kApplicationIdentifier = "app.corvel";

}  // namespace corvel
