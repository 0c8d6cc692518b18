#include "program/Environment.hpp"

#include "core/storage/ApplicationSupportFolder.hpp"

#include <cstdlib>

namespace corvel {

std::string environmentVariable(const char* name) {
    const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing changes the environment then
    return value != nullptr ? value : "";
}

std::filesystem::path settingsFolder() {
    std::filesystem::path folder = environmentVariable("XDG_CONFIG_HOME");
    if (!folder.is_absolute()) {
        folder = homeFolder().value_or("/") / ".config";
    }
    return folder / "Corvel";
}

}  // namespace corvel
