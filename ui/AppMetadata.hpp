#pragma once

#include "ui/BundleInformation.hpp"

#include <string>

/// Version and build of the program, read at each call.
namespace corvel::ui::AppMetadata {

/// The version that users see; "1.0.0" if the build has written none.
[[nodiscard]] std::string version(const BundleInformation& bundle);

/// The build of that version; "1" if the build has written none.
[[nodiscard]] std::string build(const BundleInformation& bundle);

}  // namespace corvel::ui::AppMetadata
