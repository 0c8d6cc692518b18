// Feeds arbitrary texts to the parser of the program's arguments, which another process may also send to the running
// instance.

#include "app/CommandLine.hpp"
#include "fuzz/Invariant.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using namespace corvel;
using fuzz::require;

/// The texts between zero bytes. A text of one byte from 1 to 31 stands for an option or a value, because random inputs
/// seldom contain these words.
std::vector<std::string> arguments(std::string_view input) {
    static const std::vector<std::string> kWords{"--midi",
                                                 "--document",
                                                 "--headless",
                                                 "--monitor",
                                                 "--list",
                                                 "--json",
                                                 "--connect",
                                                 "--disconnect",
                                                 "--channel",
                                                 "--set",
                                                 "--sets",
                                                 "--all-notes-off",
                                                 "--screenshot",
                                                 "--size",
                                                 "--scale",
                                                 "--appearance",
                                                 "--version",
                                                 "--help",
                                                 "alsa",
                                                 "jack",
                                                 "alsa,jack",
                                                 "demo",
                                                 "auto",
                                                 "980x640",
                                                 "1.5",
                                                 "16",
                                                 "dark",
                                                 "--",
                                                 "-h",
                                                 "1001",
                                                 ""};
    std::vector<std::string> all;
    for (std::size_t start = 0; start < input.size();) {
        const std::size_t end = std::min(input.find('\0', start), input.size());
        const std::string_view text = input.substr(start, end - start);
        const bool isWord = text.size() == 1 && text[0] >= 1 && std::size_t(text[0]) <= kWords.size();
        all.emplace_back(isWord ? kWords[std::size_t(text[0]) - 1] : std::string(text));
        start = end + 1;
    }
    return all;
}

void checkCommand(const CommandLine& line, const auto& because) {
    if (const auto* picture = std::get_if<CommandLine::Screenshot>(&line.command)) {
        require(picture->width >= 980 && picture->width <= 7680 && picture->height >= 640 && picture->height <= 4320,
                "a picture has a size that can be drawn", because);
        require(picture->scale >= 1 && picture->scale <= 4, "a picture has 1 to 4 pixels per point", because);
    }
    if (const auto* command = std::get_if<CommandLine::DocumentCommand>(&line.command)) {
        if (const auto* connect = std::get_if<CommandLine::Connect>(command)) {
            require(!connect->channel || (*connect->channel >= 1 && *connect->channel <= 16),
                    "a connection is forced onto a channel from 1 to 16", because);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> given = arguments({reinterpret_cast<const char*>(data), size});
    const auto because = [&given] {
        std::string text = "arguments";
        for (const std::string& argument : given) {
            text += " \"" + argument + '"';
        }
        return text;
    };
    const CommandLineResult result = parseCommandLine(given, "1.2.3");
    if (const auto* line = std::get_if<CommandLine>(&result)) {
        checkCommand(*line, because);
    } else if (const auto* error = std::get_if<CommandLineError>(&result)) {
        require(!error->message.empty(), "a wrong command line is explained", because);
    } else {
        require(!std::get<CommandLineText>(result).text.empty(), "help and version are texts", because);
    }
    // Not with every input, because it takes as long as all the rest.
    if (size % 16 == 0) {
        const CommandLineResult again = parseCommandLine(given, "1.2.3");
        require(result.index() == again.index(), "the same arguments mean the same", because);
    }
    return 0;
}
