#include "program/OtherProgram.hpp"

#include "program/Console.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace corvel {

int becomeProgram(const std::string& name, const std::string& failure, char** arguments) {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    if (error) {
        printError(failure + ": /proc/self/exe: " + error.message());
        return EXIT_FAILURE;
    }
    const std::filesystem::path installed = (folder / CORVEL_PROGRAMS / name).lexically_normal();
    ::execv((folder / name).c_str(), arguments);
    ::execv(installed.c_str(), arguments);
    printError(failure + ": " + installed.string() + ": " + std::system_category().message(errno));
    return EXIT_FAILURE;
}

}  // namespace corvel
