#pragma once

#include "app/AppAppearanceMode.hpp"
#include "core/host/MIDIHostChoice.hpp"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <variant>

namespace corvel {

/// The command that the user gave.
struct CommandLine {
    /// Open the router window. The default.
    struct Window {
        bool operator==(const Window&) const = default;
    };
    /// Route without a window until a signal arrives.
    struct Headless {
        /// Whether every routed message is written to standard output.
        bool writesActivity = false;
        bool operator==(const Headless&) const = default;
    };
    /// List the endpoints.
    struct List {
        bool writesJSON = false;
        bool operator==(const List&) const = default;
    };
    /// Draw the window with the demo devices.
    struct Screenshot {
        /// A PNG file; an existing one is replaced.
        std::filesystem::path file;
        /// The window's content in points: 980 x 640 to 7680 x 4320.
        int width = 1180;
        int height = 760;
        /// Pixels per point, 1 to 4.
        double scale = 1;
        AppAppearanceMode appearance = AppAppearanceMode::dark;
        bool operator==(const Screenshot&) const = default;
    };
    /// Add a connection, or change the channel of an existing one. Endpoints are given by name or ID.
    struct Connect {
        std::string source;
        std::string destination;
        /// 1 to 16.
        std::optional<int> channel;
        bool operator==(const Connect&) const = default;
    };
    /// Delete a connection.
    struct Disconnect {
        std::string source;
        std::string destination;
        bool operator==(const Disconnect&) const = default;
    };
    /// Make a set, given by name or ID, the current one.
    struct SelectSet {
        std::string set;
        bool operator==(const SelectSet&) const = default;
    };
    /// List the connection sets.
    struct ListSets {
        bool operator==(const ListSets&) const = default;
    };
    /// Silence the outputs of the current set.
    struct AllNotesOff {
        bool operator==(const AllNotesOff&) const = default;
    };
    /// The commands on the saved connections, or on those of the running instance.
    using DocumentCommand = std::variant<Connect, Disconnect, SelectSet, ListSets, AllNotesOff>;
    using Command = std::variant<Window, Headless, List, Screenshot, DocumentCommand>;

    Command command;
    MIDIHostChoice midi;
    /// The connections file; the default one if empty.
    std::optional<std::filesystem::path> document;

    bool operator==(const CommandLine&) const = default;
};

/// A text for standard output: the help or the version.
struct CommandLineText {
    std::string text;
};

/// The arguments are invalid; the message quotes them unchanged.
struct CommandLineError {
    std::string message;
};

using CommandLineResult = std::variant<CommandLine, CommandLineText, CommandLineError>;

/// Parses the arguments, without the program's name. `version` is the program's version.
[[nodiscard]] CommandLineResult parseCommandLine(std::span<const std::string> arguments, const std::string& version);

}  // namespace corvel
