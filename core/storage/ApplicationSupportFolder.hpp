#pragma once

#include <filesystem>

namespace corvel {

/// The folder in which the user's programs keep their data: `$XDG_DATA_HOME` if absolute, else `.local/share` in the
/// home folder (`$HOME`, without one the user database's), else the temporary folder. It need not exist. Never fails;
/// not while another thread changes the environment.
[[nodiscard]] std::filesystem::path applicationSupportFolder();

}  // namespace corvel
