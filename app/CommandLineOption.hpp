#pragma once

#include <span>
#include <string_view>

namespace corvel {

/// One value that follows an option.
struct OptionValue {
    /// What the value is, which decides what a shell offers for it.
    enum class Kind { text, source, destination, set, file };

    /// As the help writes it: "SOURCE".
    std::string_view name;
    Kind kind = Kind::text;
    /// All texts that the value may be; empty if there are others.
    std::span<const std::string_view> choices{};
};

/// One option of the command line: what the parser accepts, and what the help, the manual page and the shells'
/// completions say of it.
struct CommandLineOption {
    /// How much the option decides.
    enum class Role {
        /// What the program does; one at most may be given.
        command,
        /// How that is done.
        detail,
        /// A text about the program, after which it ends.
        information,
    };

    /// With its dashes: "--connect".
    std::string_view name;
    /// The one-letter form with its dash; empty where there is none.
    std::string_view shortName{};
    Role role = Role::detail;
    std::span<const OptionValue> values{};
    /// The commands with which a detail makes sense; `kWindowCommand` is the window, which needs no option. Empty: all.
    std::span<const std::string_view> commands{};
    /// What the option does, as a line of a list: no full stop.
    std::string_view summary;
    /// What else there is to say, in whole sentences; may be empty.
    std::string_view details{};
};

/// Stands for the window among commands.
inline constexpr std::string_view kWindowCommand;

/// All options, in the order in which the help lists them: a command, then the details that only it has.
[[nodiscard]] std::span<const CommandLineOption> commandLineOptions();

/// The paragraphs that say what concerns several options, for the end of the help and of the manual page.
[[nodiscard]] std::span<const std::string_view> commandLineNotes();

/// Whether the option is a detail of this command, which may be `kWindowCommand`.
[[nodiscard]] bool isDetailOf(const CommandLineOption& option, std::string_view command);

/// The one command that has this detail; empty for other options.
[[nodiscard]] std::string_view onlyCommandOf(const CommandLineOption& option);

}  // namespace corvel
