#pragma once

#include <string_view>

namespace corvel {

/// The service manager that started this program as a service, as systemd does with `Type=notify`. It is told by
/// datagrams to the socket that the environment names in NOTIFY_SOCKET; without one, nothing is sent.
class ServiceManager {
public:
    /// Takes NOTIFY_SOCKET out of the environment: programs that this one starts are not the service.
    ServiceManager();
    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;
    ~ServiceManager();

    /// Tells that the service does its work now. `status` is one line for whoever asks how it is.
    void tellReady(std::string_view status) const;
    /// Tells that the service has been asked to end, and does so.
    void tellStopping() const;

    /// Whether the descriptor leads to the system's journal. The journal stamps each line with its time, and takes
    /// "<4>" at its start for the priority.
    [[nodiscard]] static bool isJournal(int descriptor);

private:
    void send(std::string_view message) const;

    /// Connected to the manager; -1 where there is none.
    int socket_ = -1;
};

}  // namespace corvel
