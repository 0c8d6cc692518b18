#include "program/Console.hpp"

#include "app/TextLine.hpp"
#include "program/ServiceManager.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace corvel {

namespace {

/// The journal already knows the program's name, but needs the priority of an error.
const char* errorPrefix() {
    return ServiceManager::isJournal(STDERR_FILENO) ? "<3>" : "corvel: ";
}

}  // namespace

void printError(const std::string& message) {
    std::fprintf(stderr, "%s%s\n", errorPrefix(), escapedLine(message).c_str());
}

int print(const std::string& text) {
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (!isWritten) {
        printError("standard output could not be written");
    }
    return isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
}

int printResult(const CommandResult& result) {
    if (result.exitCode != EXIT_SUCCESS) {
        std::fprintf(stderr, "%s%s\n", errorPrefix(), result.text.c_str());
        return result.exitCode;
    }
    return print(result.text + '\n');
}

void openStandardDescriptors() {
    int descriptor = -1;
    do {
        descriptor = ::open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
}

}  // namespace corvel
