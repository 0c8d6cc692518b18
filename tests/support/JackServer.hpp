#pragma once

#include "tests/support/ChildProcess.hpp"
#include "tests/support/ScopedEnvironment.hpp"

#include <optional>
#include <string>

namespace corvel::tests {

/// A JACK server with its own name, which needs no sound card; PipeWire if this program runs with PipeWire's library in
/// place of JACK's. While this object exists, this program and its children find no other server. Needs
/// `XDG_RUNTIME_DIR`. The destructor ends the server. Belongs to one thread.
class JackServer {
public:
    JackServer();
    JackServer(const JackServer&) = delete;
    JackServer& operator=(const JackServer&) = delete;
    ~JackServer();

    [[nodiscard]] static bool isPipeWire();

    /// Starts the server and waits until it serves clients. Throws `std::runtime_error` if it does not.
    void start();
    /// What the server has written so far. Long tests must ask from time to time, because a full pipe stops the server.
    [[nodiscard]] const std::string& log() { return process_->standardError(); }
    /// Ends the server as a crash does, and waits for its end.
    void kill();

private:
    void end(int signal);

    const std::string name_;
    const ScopedEnvironment defaultServer_{"JACK_DEFAULT_SERVER", name_};
    std::optional<ChildProcess> process_;
};

}  // namespace corvel::tests
