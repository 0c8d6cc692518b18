#pragma once

#include <filesystem>
#include <string>

namespace corvel {

/// The value of an environment variable; empty if it is not set. Must not run while another thread changes the
/// environment.
[[nodiscard]] std::string environmentVariable(const char* name);

/// The folder of the program's settings: `Corvel` in `$XDG_CONFIG_HOME` if that is absolute, otherwise in `.config` in
/// the home folder. It need not exist. As above.
[[nodiscard]] std::filesystem::path settingsFolder();

}  // namespace corvel
