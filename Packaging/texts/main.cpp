#include "Packaging/texts/OptionTexts.hpp"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <map>
#include <span>
#include <stdexcept>
#include <string>

namespace corvel {
namespace {

std::string contents(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) {
        throw std::runtime_error("it cannot be read");
    }
    return text;
}

void write(const std::string& file, const std::string& text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) {
        throw std::runtime_error(file + " cannot be written");
    }
}

int run(std::span<char*> arguments) {
    if (arguments.size() < 2) {
        std::fputs("usage: corvel-option-texts TEMPLATE OUTPUT [NAME=VALUE...]\n", stderr);
        return 2;
    }
    std::map<std::string, std::string> values = OptionTexts::all();
    for (const std::string definition : arguments.subspan(2)) {
        const std::size_t equals = definition.find('=');
        values[definition.substr(0, equals)] =
            equals == std::string::npos ? std::string() : definition.substr(equals + 1);
    }
    try {
        write(arguments[1], OptionTexts::filledTemplate(contents(arguments[0]), values));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "corvel-option-texts: %s: %s\n", arguments[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

}  // namespace
}  // namespace corvel

/// Writes the manual page and the shell completions when Corvel is built. Each is a template that is filled from the
/// table of options.
int main(int argc, char** argv) {
    return corvel::run(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
}
