#include "program/WindowProgram.hpp"

#include "program/Console.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace corvel {

int becomeWindowProgram(char** arguments) {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    if (error) {
        printError("the window cannot be opened: /proc/self/exe: " + error.message());
        return EXIT_FAILURE;
    }
    const std::filesystem::path installed = (folder / CORVEL_WINDOW_PROGRAM).lexically_normal();
    ::execv((folder / installed.filename()).c_str(), arguments);
    ::execv(installed.c_str(), arguments);
    printError("the window cannot be opened: " + installed.string() + ": " + std::system_category().message(errno));
    return EXIT_FAILURE;
}

}  // namespace corvel
