#include "app/CommandLineHelp.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace corvel {

namespace {

constexpr std::size_t kLineLength = 80;
/// The column where descriptions begin.
constexpr std::size_t kDescriptionColumn = 19;
/// The column of a usage's further lines: after "  corvel ".
constexpr std::size_t kUsageColumn = 9;

/// Appends the words to the text's last line. Further lines are indented by `indent`.
void appendWrapped(std::string& text, const std::vector<std::string>& words, std::size_t indent) {
    std::size_t column = text.size() - (text.rfind('\n') + 1);
    bool isFirst = true;
    for (const std::string& word : words) {
        if (!isFirst && column + 1 + word.size() > kLineLength) {
            text += '\n' + std::string(indent, ' ');
            column = indent;
            isFirst = true;
        }
        text += (isFirst ? "" : " ") + word;
        column += word.size() + (isFirst ? 0 : 1);
        isFirst = false;
    }
    text += '\n';
}

std::vector<std::string> wordsOf(std::string_view text) {
    std::vector<std::string> words;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        words.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

std::vector<std::string> usage(std::string_view command, const std::string& start) {
    std::vector<std::string> words{"corvel"};
    if (!start.empty()) {
        words.push_back(start);
    }
    for (const CommandLineOption& option : commandLineOptions()) {
        if (isDetailOf(option, command)) {
            words.push_back('[' + optionUsage(option) + ']');
        }
    }
    return words;
}

}  // namespace

std::string optionUsage(const CommandLineOption& option) {
    std::string text(option.name);
    for (const OptionValue& value : option.values) {
        text += ' ';
        text += value.name;
    }
    return text;
}

std::vector<std::vector<std::string>> commandLineUsages() {
    std::vector<std::vector<std::string>> usages{usage(kWindowCommand, {})};
    for (const CommandLineOption& option : commandLineOptions()) {
        if (option.role == CommandLineOption::Role::command) {
            usages.push_back(usage(option.name, optionUsage(option)));
        }
    }
    return usages;
}

std::string optionDescription(const CommandLineOption& option) {
    std::string text = std::string(option.summary) + '.';
    if (!option.details.empty()) {
        text += ' ';
        text += option.details;
    }
    if (const std::string_view command = onlyCommandOf(option); !command.empty()) {
        text += " Only with ";
        text += command;
        text += '.';
    }
    return text;
}

std::string commandLineHelp() {
    std::string text = "Corvel routes MIDI from any source to any destination.\n\nUsage:\n";
    for (const std::vector<std::string>& words : commandLineUsages()) {
        text += "  ";
        appendWrapped(text, words, kUsageColumn);
    }
    text += "\nWithout a command, Corvel opens its window.\n\n";
    for (const CommandLineOption& option : commandLineOptions()) {
        text += "  ";
        if (!option.shortName.empty()) {
            text += std::string(option.shortName) + ", ";
        }
        const std::size_t start = text.rfind('\n') + 1;
        text += optionUsage(option);
        if (text.size() - start + 2 > kDescriptionColumn) {
            text += '\n';
        }
        text += std::string(kDescriptionColumn - (text.size() - (text.rfind('\n') + 1)), ' ');
        appendWrapped(text, wordsOf(optionDescription(option)), kDescriptionColumn);
    }
    for (const std::string_view note : commandLineNotes()) {
        text += '\n';
        appendWrapped(text, wordsOf(note), 0);
    }
    return text;
}

}  // namespace corvel
