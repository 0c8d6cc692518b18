#include "Packaging/texts/OptionTexts.hpp"
#include "app/CommandLineHelp.hpp"
#include "app/CommandLineOption.hpp"

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>
#include <vector>

namespace corvel::OptionTexts {

namespace {

/// The text with all characters escaped that would be instructions.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
            case '\\':
                result += "\\e";
                break;
            case '-':
                result += "\\-";
                break;
            default:
                result += character;
        }
    }
    // At the start of a line, a full stop or an apostrophe would be an instruction.
    return result.starts_with('.') || result.starts_with('\'') ? "\\&" + result : result;
}

bool isOptionCharacter(char character) {
    return character == '-' || std::islower(static_cast<unsigned char>(character)) != 0;
}

/// The escaped text with the names of options in bold.
std::string marked(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t start = std::min(text.find("--"), text.size());
        result += escaped(text.substr(0, start));
        text.remove_prefix(start);
        const auto length = static_cast<std::size_t>(std::ranges::find_if_not(text, isOptionCharacter) - text.begin());
        if (length > 0) {
            result += "\\fB" + escaped(text.substr(0, length)) + "\\fR";
        }
        text.remove_prefix(length);
    }
    return result;
}

}  // namespace

std::string manualSynopsis() {
    std::string text;
    for (const std::vector<std::string>& words : commandLineUsages()) {
        text += text.empty() ? "" : ".br\n";
        bool isProgram = true;
        for (const std::string& word : words) {
            text += isProgram ? ".B " + escaped(word) + '\n' : marked(word) + '\n';
            isProgram = false;
        }
    }
    return text;
}

std::string manualOptions() {
    std::string text;
    for (const CommandLineOption& option : commandLineOptions()) {
        text += ".TP\n";
        if (!option.shortName.empty()) {
            text += "\\fB" + escaped(option.shortName) + "\\fR, ";
        }
        text += "\\fB" + escaped(option.name) + "\\fR";
        for (const OptionValue& value : option.values) {
            text += " \\fI" + escaped(value.name) + "\\fR";
        }
        text += '\n' + marked(optionDescription(option)) + '\n';
    }
    return text;
}

std::string manualNotes() {
    std::string text;
    for (const std::string_view note : commandLineNotes()) {
        text += ".PP\n" + marked(note) + '\n';
    }
    return text;
}

}  // namespace corvel::OptionTexts
