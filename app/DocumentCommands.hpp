#pragma once

#include "app/CommandLine.hpp"
#include "app/MIDIRouterViewModel.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace corvel {

/// What a command answers to whoever gave it.
struct CommandResult {
    /// The process's exit status: 0 if the command was carried out, 1 if not.
    int exitCode = 0;
    /// The status line, or why the command was not carried out. Several lines where there is something to
    /// choose from; no line break at the end.
    std::string text;

    bool operator==(const CommandResult&) const = default;
};

/// The commands of the command line: each looks up what it was given, has the model do the one thing, and answers. A
/// change that could not be saved has failed, though a running engine routes by it.
///
/// An endpoint is given by its display name, or by its unique ID in decimal with an optional sign: whatever
/// reads as a number is an ID. Names must match exactly; one that none or several bear is answered with the
/// candidates.
///
/// They know the endpoints that the model knows: without a running engine, `applyEndpointSnapshot()` comes
/// first. Main thread only.
namespace DocumentCommands {

/// Carries out the one of the commands below that was given.
[[nodiscard]] CommandResult perform(MIDIRouterViewModel& model, const CommandLine::DocumentCommand& command);

/// Connects an input to an output. Without a channel, an existing connection is refused; with one (1 to 16),
/// the connection is made if there is none, and gets an assignment on that channel or has the one it has
/// activated.
[[nodiscard]] CommandResult connect(MIDIRouterViewModel& model, std::string_view source, std::string_view destination,
                                    std::optional<int> channel);

/// Deletes the connection between an input and an output. Endpoints that are not there any more go by their
/// stored names. Another connection that is selected stays so.
[[nodiscard]] CommandResult disconnect(MIDIRouterViewModel& model, std::string_view source,
                                       std::string_view destination);

/// Makes a set the current one, given its name or its ID.
[[nodiscard]] CommandResult selectSet(MIDIRouterViewModel& model, std::string_view set);

/// Lists the sets with their numbers of connections, the current one marked with an asterisk.
[[nodiscard]] CommandResult listSets(const MIDIRouterViewModel& model);

/// Silences the outputs of the current set. The engine has to run; the messages leave within some 50 ms.
[[nodiscard]] CommandResult allNotesOff(MIDIRouterViewModel& model);

}  // namespace DocumentCommands

}  // namespace corvel
