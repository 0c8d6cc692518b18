#include "core/storage/ApplicationSupportFolder.hpp"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <optional>
#include <system_error>

namespace corvel {

namespace {

using std::filesystem::path;

/// The path if it is absolute, so that it does not depend on the working directory.
std::optional<path> absolutePath(const char* text) {
    if (text == nullptr || !path(text).is_absolute()) {
        return std::nullopt;
    }
    return path(text);
}

std::optional<path> homeFolderOfUserDatabase() {
    // Larger than any entry of a user who can log in.
    std::array<char, 16384> buffer;
    ::passwd entry{};
    ::passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        return std::nullopt;
    }
    return absolutePath(found->pw_dir);
}

}  // namespace

std::optional<path> userFolder(const char* variable, const path& inHome) {
    // Nothing in the program changes the environment once threads run.
    // NOLINTBEGIN(concurrency-mt-unsafe)
    auto named = absolutePath(std::getenv(variable));
    auto home = absolutePath(std::getenv("HOME"));
    // NOLINTEND(concurrency-mt-unsafe)
    if (named) {
        return named;
    }
    if (!home) {
        home = homeFolderOfUserDatabase();
    }
    return home ? std::optional(*home / inHome) : std::nullopt;
}

path applicationSupportFolder() {
    if (const auto folder = userFolder("XDG_DATA_HOME", ".local/share")) {
        return *folder;
    }
    std::error_code error;
    const path temporary = std::filesystem::temp_directory_path(error);
    return error ? path("/tmp") : temporary;
}

}  // namespace corvel
