#include "program/Environment.hpp"

#include "core/storage/ApplicationSupportFolder.hpp"

#include <cstdlib>

namespace corvel {

std::string environmentVariable(const char* name) {
    const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing changes the environment then
    return value != nullptr ? value : "";
}

std::filesystem::path settingsFolder() {
    return userFolder("XDG_CONFIG_HOME", ".config").value_or("/") / "Corvel";
}

}  // namespace corvel
