#include "Packaging/texts/OptionTexts.hpp"
#include "app/CommandLineOption.hpp"

#include <string>
#include <string_view>

namespace corvel::OptionTexts {

namespace {

using Role = CommandLineOption::Role;

/// The name of the kind of a value without fixed choices.
std::string_view kindName(OptionValue::Kind kind) {
    switch (kind) {
        case OptionValue::Kind::text:
            return "text";
        case OptionValue::Kind::source:
            return "source";
        case OptionValue::Kind::destination:
            return "destination";
        case OptionValue::Kind::set:
            return "set";
        case OptionValue::Kind::file:
            return "file";
    }
    return {};
}

/// A text of words with a separator, a blank by default.
class Words {
public:
    explicit Words(char separator = ' ') : separator_(separator) {}

    void add(std::string_view word) {
        if (!text_.empty()) {
            text_ += separator_;
        }
        text_ += word;
    }
    [[nodiscard]] const std::string& text() const { return text_; }

private:
    char separator_;
    std::string text_;
};

/// A value for bash: its kind, or "=" and the choices, separated by '|'.
std::string bashValue(const OptionValue& value) {
    if (value.choices.empty()) {
        return std::string(kindName(value.kind));
    }
    Words choices('|');
    for (const std::string_view choice : value.choices) {
        choices.add(choice);
    }
    return '=' + choices.text();
}

std::string bashElement(std::string_view option, const std::string& words) {
    return "        [" + std::string(option) + "]='" + words + "'\n";
}

/// A value for zsh: its name and what completes it. A blank before a function makes zsh call it without additional
/// options.
std::string zshValue(const OptionValue& value) {
    Words choices;
    for (const std::string_view choice : value.choices) {
        choices.add(choice);
    }
    std::string text = ':' + std::string(value.name) + ':';
    if (!value.choices.empty()) {
        return text + '(' + choices.text() + ')';
    }
    switch (value.kind) {
        case OptionValue::Kind::text:
            return text + ' ';
        case OptionValue::Kind::source:
            return text + " _corvel_endpoints sources";
        case OptionValue::Kind::destination:
            return text + " _corvel_endpoints destinations";
        case OptionValue::Kind::set:
            return text + " _corvel_sets";
        case OptionValue::Kind::file:
            return text + "_files";
    }
    return text;
}

/// The options that cannot be given with this one: information options exclude all others, commands each other.
std::string zshExclusions(const CommandLineOption& option) {
    if (option.role == Role::information) {
        return "(- *)";
    }
    Words excluded;
    for (const CommandLineOption& other : commandLineOptions()) {
        const bool isOtherCommand =
            option.role == Role::command && other.role == Role::command && other.name != option.name;
        if (isOtherCommand || other.role == Role::information) {
            excluded.add(other.name);
        }
        if (other.role == Role::information && !other.shortName.empty()) {
            excluded.add(other.shortName);
        }
    }
    return '(' + excluded.text() + ')';
}

std::string zshSpecification(const CommandLineOption& option, std::string_view name) {
    std::string text = '\'' + zshExclusions(option) + std::string(name) + '[' + std::string(option.summary) + ']';
    for (const OptionValue& value : option.values) {
        text += zshValue(value);
    }
    return text + '\'';
}

}  // namespace

std::string bashValues() {
    std::string text;
    for (const CommandLineOption& option : commandLineOptions()) {
        Words kinds;
        for (const OptionValue& value : option.values) {
            kinds.add(bashValue(value));
        }
        text += bashElement(option.name, kinds.text());
    }
    return text;
}

std::string bashUses() {
    std::string text;
    for (const CommandLineOption& option : commandLineOptions()) {
        Words uses;
        if (option.role != Role::detail || isDetailOf(option, kWindowCommand)) {
            uses.add("-");
        }
        for (const CommandLineOption& command : commandLineOptions()) {
            if (command.role == Role::command && isDetailOf(option, command.name)) {
                uses.add(command.name);
            }
        }
        text += bashElement(option.name, uses.text());
    }
    return text;
}

std::string zshOptions() {
    std::string text;
    for (const CommandLineOption& option : commandLineOptions()) {
        if (!onlyCommandOf(option).empty()) {
            continue;
        }
        for (const std::string_view name : {option.name, option.shortName}) {
            if (!name.empty()) {
                text += "    " + zshSpecification(option, name) + '\n';
            }
        }
    }
    return text;
}

std::string zshDetails() {
    std::string text;
    for (const CommandLineOption& option : commandLineOptions()) {
        if (const std::string_view command = onlyCommandOf(option); !command.empty()) {
            text += "  (( $words[(I)" + std::string(command) + "] )) && specifications+=(" +
                    zshSpecification(option, option.name) + ")\n";
        }
    }
    return text;
}

}  // namespace corvel::OptionTexts
