#pragma once

#include "program/InstanceMessage.hpp"

#include <QLocalSocket>
#include <QObject>
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

    /// Uses this connected socket.
    InstanceConnection(QLocalSocket& socket, Handler handler, QObject* parent);

    /// Closes the connection without an answer.
    void close();

signals:
    /// The connection has ended.
    void ended();

private:
    void read();
    void answer(const InstanceRequest& request);
    [[nodiscard]] bool hasHungUp() const;

    QLocalSocket& socket_;
    const Handler handler_;
    QTimer limit_;
    std::string received_;
    bool isWaiting_ = true;
};

}  // namespace corvel
