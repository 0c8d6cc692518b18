#pragma once

#include "app/DocumentCommands.hpp"
#include "app/MIDIRouterViewModel.hpp"
#include "program/InstanceMessage.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvel {

/// Carries out the requests of later starts in the running instance, so that nothing is routed twice and no other
/// process writes its document. Main thread only.
class RunningInstance {
public:
    /// `document` is the absolute path of the file that the model saves. `bringForward` brings the window to the front
    /// and receives the later start's activation token; empty if there is no window. The model's engine must be
    /// running.
    RunningInstance(std::shared_ptr<MIDIRouterViewModel> model, std::filesystem::path document, bool isDemo,
                    std::function<void(const std::string& activationToken)> bringForward);

    /// Carries out a request and returns its result. No value if the request does not concern this instance: a command
    /// on another document, or on MIDI devices that this instance does not have.
    [[nodiscard]] InstanceAnswer answer(const InstanceRequest& request) const;

private:
    [[nodiscard]] CommandResult answerWindow(const CommandLine& commandLine, const InstanceRequest& request) const;
    [[nodiscard]] bool isOwnDocument(const CommandLine& commandLine, const std::filesystem::path& folder) const;
    [[nodiscard]] bool concerns(const CommandLine& commandLine, const std::filesystem::path& folder) const;

    const std::shared_ptr<MIDIRouterViewModel> model_;
    const std::filesystem::path document_;
    const bool isDemo_;
    const std::function<void(const std::string& activationToken)> bringForward_;
};

}  // namespace corvel
