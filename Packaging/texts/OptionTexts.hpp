#pragma once

#include <map>
#include <string>
#include <string_view>

/// Texts about the command line's options for files of the package, made from the table of options.
namespace corvel::OptionTexts {

/// The manual page's synopsis, options and notes, in the format of man pages.
[[nodiscard]] std::string manualSynopsis();
[[nodiscard]] std::string manualOptions();
[[nodiscard]] std::string manualNotes();

/// Elements of bash's associative array from an option to the kinds of its values.
[[nodiscard]] std::string bashValues();
/// Elements of bash's associative array from an option to the commands that it belongs to; "-" is the window.
[[nodiscard]] std::string bashUses();

/// Options in the form of zsh's `_arguments`: those that are always possible, and statements that add the details of
/// the given command.
[[nodiscard]] std::string zshOptions();
[[nodiscard]] std::string zshDetails();

/// All options that are commands, one on each line.
[[nodiscard]] std::string commandNames();

/// All texts above by their names in templates.
[[nodiscard]] std::map<std::string, std::string> all();

/// The template with each "@NAME@" replaced by the value of that name. Throws `std::runtime_error` if a name has no
/// value.
[[nodiscard]] std::string filledTemplate(std::string_view text, const std::map<std::string, std::string>& values);

}  // namespace corvel::OptionTexts
