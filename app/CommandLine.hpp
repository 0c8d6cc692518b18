#pragma once

#include "app/AppAppearanceMode.hpp"
#include "core/host/MIDIHostChoice.hpp"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <variant>

namespace corvel {

/// What the user asks of the program.
struct CommandLine {
    /// The router window, which is what the program is for.
    struct Window {
        bool operator==(const Window&) const = default;
    };
    /// Routing without a window until a signal ends it.
    struct Headless {
        /// Whether every routed message is written to standard output.
        bool writesActivity = false;
        bool operator==(const Headless&) const = default;
    };
    /// The endpoints, once.
    struct List {
        bool writesJSON = false;
        bool operator==(const List&) const = default;
    };
    /// A picture of the window on the demo devices.
    struct Screenshot {
        /// A PNG file, replaced if it is there.
        std::filesystem::path file;
        /// The window's content in points: 980 x 640 to 7680 x 4320.
        int width = 1180;
        int height = 760;
        /// Pixels to a point, 1 to 4.
        double scale = 1;
        AppAppearanceMode appearance = AppAppearanceMode::dark;
        bool operator==(const Screenshot&) const = default;
    };
    /// A new connection, or another channel for one. Endpoints are given by name or ID.
    struct Connect {
        std::string source;
        std::string destination;
        /// 1 to 16.
        std::optional<int> channel;
        bool operator==(const Connect&) const = default;
    };
    /// The end of a connection.
    struct Disconnect {
        std::string source;
        std::string destination;
        bool operator==(const Disconnect&) const = default;
    };
    /// Another current set, given by name or ID.
    struct SelectSet {
        std::string set;
        bool operator==(const SelectSet&) const = default;
    };
    /// The connection sets, once.
    struct ListSets {
        bool operator==(const ListSets&) const = default;
    };
    /// The end of every note at the outputs of the current set.
    struct AllNotesOff {
        bool operator==(const AllNotesOff&) const = default;
    };
    /// The commands on the saved connections, or on those of the instance that runs.
    using DocumentCommand = std::variant<Connect, Disconnect, SelectSet, ListSets, AllNotesOff>;
    using Command = std::variant<Window, Headless, List, Screenshot, DocumentCommand>;

    Command command;
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
