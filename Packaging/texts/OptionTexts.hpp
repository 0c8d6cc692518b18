#pragma once

#include <map>
#include <string>
#include <string_view>

/// What files of the package say of the command line's options, made of the options' table.
namespace corvel::OptionTexts {

/// The manual page's synopsis, options and notes, in the language of man pages.
[[nodiscard]] std::string manualSynopsis();
[[nodiscard]] std::string manualOptions();
[[nodiscard]] std::string manualNotes();

/// Elements of bash's associative array from an option to the kinds of its values.
[[nodiscard]] std::string bashValues();
/// Elements of bash's associative array from an option to the commands that it goes with: "-" for the window.
[[nodiscard]] std::string bashUses();

/// Specifications of the options that zsh's `_arguments` takes: those that always go, and statements that add the
/// details of the command that was given.
[[nodiscard]] std::string zshOptions();
[[nodiscard]] std::string zshDetails();

/// Every option that says what the program does instead of opening its window, one a line.
[[nodiscard]] std::string commandNames();

/// All of the above under the names by which templates call them.
[[nodiscard]] std::map<std::string, std::string> all();

/// The template with each "@NAME@" replaced by the value of that name. Throws `std::runtime_error` for a name without a
/// value.
[[nodiscard]] std::string filledTemplate(std::string_view text, const std::map<std::string, std::string>& values);

}  // namespace corvel::OptionTexts
