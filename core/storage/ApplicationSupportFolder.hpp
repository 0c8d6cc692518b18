#pragma once

#include <filesystem>
#include <optional>

namespace corvel {

/// The folder named by the environment variable if that is absolute, otherwise this folder in the home folder (`$HOME`,
/// or the user database's entry); no value if there is no home folder. Need not exist. Must not run while another
/// thread changes the environment.
[[nodiscard]] std::optional<std::filesystem::path> userFolder(const char* variable,
                                                              const std::filesystem::path& inHome);

/// The folder in which the user's programs keep their data: `$XDG_DATA_HOME` if absolute, otherwise `.local/share` in
/// the home folder (`$HOME`, or the user database's entry), otherwise the temporary folder. It need not exist. Never
/// fails. Must not run while another thread changes the environment.
[[nodiscard]] std::filesystem::path applicationSupportFolder();

}  // namespace corvel
