#pragma once

#include <string_view>

namespace corvel {

/// The service manager that started this program as a service, such as systemd with `Type=notify`. Messages to it are
/// datagrams to the socket in the environment variable NOTIFY_SOCKET; without it, nothing is sent.
class ServiceManager {
public:
    /// Removes NOTIFY_SOCKET from the environment, because programs started by this one are not the service.
    ServiceManager();
    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;
    ~ServiceManager();

    /// Reports that the service is working. `status` is one line that the manager shows.
    void tellReady(std::string_view status) const;
    /// Reports that the service is ending as requested.
    void tellStopping() const;

    /// Whether the descriptor leads to the system's journal. The journal adds the time to each line, and takes "<4>" at
    /// its start as the priority.
    [[nodiscard]] static bool isJournal(int descriptor);

private:
    void send(std::string_view message) const;

    /// Connected to the manager; -1 if there is none.
    int socket_ = -1;
};

}  // namespace corvel
