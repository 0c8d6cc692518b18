#pragma once

#include "app/CommandLine.hpp"
#include "app/MIDIRouterViewModel.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace corvel {

/// The answer of a command.
struct CommandResult {
    /// The process's exit status: 0 if the command was carried out, 1 if not.
    int exitCode = 0;
    /// The status line, or why the command was not carried out. Several lines if there are candidates; no final line
    /// break.
    std::string text;

    bool operator==(const CommandResult&) const = default;
};

/// The commands of the command line. Each looks up its arguments, calls one operation of the model and returns the
/// result. If the change could not be saved the command has failed, although a running engine uses it.
///
/// An endpoint is given by its display name or its unique ID, in decimal with an optional sign. Numbers are always IDs.
/// Names must match exactly; if no endpoint or more than one has the name, the answer lists the candidates.
///
/// The commands know the endpoints that the model knows: without a running engine, call `applyEndpointSnapshot()`
/// first. Main thread only.
namespace DocumentCommands {

/// Carries out one of the commands below.
[[nodiscard]] CommandResult perform(MIDIRouterViewModel& model, const CommandLine::DocumentCommand& command);

/// Connects an input to an output. Without a channel, fails if the connection exists. With a channel (1 to 16), creates
/// the connection if it does not exist, and then adds an assignment on that channel or activates the existing one.
[[nodiscard]] CommandResult connect(MIDIRouterViewModel& model, std::string_view source, std::string_view destination,
                                    std::optional<int> channel);

/// Deletes the connection between an input and an output. Endpoints that are not present are found by their stored
/// names. If another connection is selected, it stays selected.
[[nodiscard]] CommandResult disconnect(MIDIRouterViewModel& model, std::string_view source,
                                       std::string_view destination);

/// Makes a set, given by name or ID, the current one.
[[nodiscard]] CommandResult selectSet(MIDIRouterViewModel& model, std::string_view set);

/// Lists the sets with their number of connections. An asterisk marks the current one.
[[nodiscard]] CommandResult listSets(const MIDIRouterViewModel& model);

/// Silences the outputs of the current set. The engine must be running; sending takes about 50 ms.
[[nodiscard]] CommandResult allNotesOff(MIDIRouterViewModel& model);

}  // namespace DocumentCommands

}  // namespace corvel
