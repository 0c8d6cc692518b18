#include "Packaging/texts/OptionTexts.hpp"

#include "app/CommandLineOption.hpp"

#include <cctype>
#include <stdexcept>

namespace corvel::OptionTexts {

namespace {

bool isNameCharacter(char character) {
    return std::isupper(static_cast<unsigned char>(character)) != 0 || character == '_';
}

}  // namespace

std::string commandNames() {
    std::string text;
    for (const CommandLineOption& option : commandLineOptions()) {
        if (option.role == CommandLineOption::Role::detail) {
            continue;
        }
        for (const std::string_view name : {option.name, option.shortName}) {
            text += name;
            text += name.empty() ? "" : "\n";
        }
    }
    return text;
}

std::map<std::string, std::string> all() {
    return {{"MANUAL_SYNOPSIS", manualSynopsis()}, {"MANUAL_OPTIONS", manualOptions()}, {"MANUAL_NOTES", manualNotes()},
            {"BASH_VALUES", bashValues()},         {"BASH_USES", bashUses()},           {"ZSH_OPTIONS", zshOptions()},
            {"ZSH_DETAILS", zshDetails()},         {"COMMAND_NAMES", commandNames()}};
}

std::string filledTemplate(std::string_view text, const std::map<std::string, std::string>& values) {
    std::string result;
    while (!text.empty()) {
        const std::size_t start = text.find('@');
        result += text.substr(0, start);
        if (start == std::string_view::npos) {
            break;
        }
        std::size_t end = start + 1;
        while (end < text.size() && isNameCharacter(text[end])) {
            ++end;
        }
        if (end == start + 1 || end == text.size() || text[end] != '@') {
            result += text.substr(start, end - start);
            text.remove_prefix(end);
            continue;
        }
        const std::string name(text.substr(start + 1, end - start - 1));
        const auto value = values.find(name);
        if (value == values.end()) {
            throw std::runtime_error("nothing is called @" + name + "@");
        }
        result += value->second;
        text.remove_prefix(end + 1);
    }
    return result;
}

}  // namespace corvel::OptionTexts
