#pragma once

#include "core/host/MIDIHostChoice.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <variant>

namespace corvel {

/// What the user asks of the program.
struct CommandLine {
    enum class Mode : std::uint8_t {
        /// The router window.
        window,
        /// Routing without a window until a signal ends it.
        headless,
        /// The endpoints, once.
        list,
    };

    Mode mode = Mode::window;
    /// With `headless`: whether every routed message is written to standard output.
    bool writesActivity = false;
    /// With `list`: whether it is written as JSON.
    bool writesJSON = false;
    MIDIHostChoice midi = MIDIHostChoice::automatic;
    /// The connections file; the usual one when absent.
    std::optional<std::filesystem::path> document;

    bool operator==(const CommandLine&) const = default;
};

/// What the user asks is a text on standard output: the help or the version.
struct CommandLineText {
    std::string text;
};

/// The arguments make no sense; the message holds what was typed, as it was.
struct CommandLineError {
    std::string message;
};

using CommandLineResult = std::variant<CommandLine, CommandLineText, CommandLineError>;

/// Reads the arguments, the program's name left out. `version` is that of the program.
[[nodiscard]] CommandLineResult parseCommandLine(std::span<const std::string> arguments, const std::string& version);

}  // namespace corvel
