#pragma once

#include <span>
#include <string_view>

namespace corvel {

/// A value that follows an option.
struct OptionValue {
    /// The kind of the value. Shells offer completions by it.
    enum class Kind { text, source, destination, set, file };

    /// The value's name in the help: "SOURCE".
    std::string_view name;
    Kind kind = Kind::text;
    /// All possible texts of the value; empty if others are possible too.
    std::span<const std::string_view> choices{};
};

/// An option of the command line. The parser, the help, the manual page and the shell completions use it.
struct CommandLineOption {
    /// The role of an option.
    enum class Role {
        /// A command of the program; at most one may be given.
        command,
        /// A detail of a command.
        detail,
        /// Prints a text about the program and exits.
        information,
    };

    /// With its dashes: "--connect".
    std::string_view name;
    /// The one-letter form with its dash; empty if there is none.
    std::string_view shortName{};
    Role role = Role::detail;
    std::span<const OptionValue> values{};
    /// The commands that have this detail; `kWindowCommand` is the window, which needs no option. Empty means all.
    std::span<const std::string_view> commands{};
    /// What the option does, in one line without a full stop.
    std::string_view summary;
    /// Further information, in whole sentences; may be empty.
    std::string_view details{};
};

/// The window among the commands.
inline constexpr std::string_view kWindowCommand;

/// All options in the order of the help: each command is followed by its own details.
[[nodiscard]] std::span<const CommandLineOption> commandLineOptions();

/// The paragraphs about several options, for the end of the help and of the manual page.
[[nodiscard]] std::span<const std::string_view> commandLineNotes();

/// Whether the option is a detail of this command, which may be `kWindowCommand`.
[[nodiscard]] bool isDetailOf(const CommandLineOption& option, std::string_view command);

/// The only command that has this detail; empty for other options.
[[nodiscard]] std::string_view onlyCommandOf(const CommandLineOption& option);

}  // namespace corvel
