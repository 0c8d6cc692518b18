#pragma once

#include "ui/BundleInformation.hpp"

#include <string>

/// What the program says of itself, asked for anew each time.
namespace corvel::ui::AppMetadata {

/// The version that users speak of; "1.0.0" where the build wrote none.
[[nodiscard]] std::string version(const BundleInformation& bundle);

/// The build of that version; "1" where the build wrote none.
[[nodiscard]] std::string build(const BundleInformation& bundle);

}  // namespace corvel::ui::AppMetadata
