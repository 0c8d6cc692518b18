#pragma once

#include "program/InstanceMessage.hpp"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace corvel {

/// The connection of a later start to the instance: reads its request, sends the answer and closes. Closes without an
/// answer if the request is malformed, too large or too slow.
class InstanceConnection : public QObject {
    Q_OBJECT

public:
    /// Carries out the request of another process.
    using Handler = std::function<InstanceAnswer(const InstanceRequest&)>;

    /// Time limit for receiving the request, and again for sending the answer.
    static constexpr std::chrono::milliseconds kLimit{2'000};
    /// Maximum size of a request, in bytes of its texts.
    static constexpr std::size_t kMaxRequestSize = 1'048'576;

    /// Owns this connected socket, whose operations must not wait.
    InstanceConnection(int socket, Handler handler, QObject* parent);
    InstanceConnection(const InstanceConnection&) = delete;
    InstanceConnection& operator=(const InstanceConnection&) = delete;
    ~InstanceConnection() override;

    /// Reads what has arrived of the request, without waiting, and carries it out if it is complete. The event loop
    /// calls this when there is more.
    void read();

    /// Closes the connection. An answer that has not been sent is lost.
    void close();

signals:
    /// The connection has ended.
    void ended();

private:
    void closeSocket();
    void answer(const InstanceRequest& request);
    void write();
    [[nodiscard]] bool hasHungUp() const;

    /// Negative when closed.
    int socket_;
    const Handler handler_;
    QSocketNotifier readable_;
    QSocketNotifier writable_;
    QTimer limit_;
    std::string received_;
    /// The part of the answer that has not been sent.
    std::string unsent_;
};

}  // namespace corvel
