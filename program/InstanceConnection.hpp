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

/// A later start that has come to the instance: reads its request, has it answered and lets it go. One that says
/// something else, too much, or nothing for too long is let go without an answer.
class InstanceConnection : public QObject {
    Q_OBJECT

public:
    /// Does what another process asks.
    using Handler = std::function<InstanceAnswer(const InstanceRequest&)>;

    /// How long the request may take to come, and the answer to be read.
    static constexpr std::chrono::milliseconds kLimit{2'000};
    /// The longest request, in bytes of its texts.
    static constexpr std::size_t kMaxRequestSize = 1'048'576;

    /// Takes the socket, which is connected.
    InstanceConnection(QLocalSocket& socket, Handler handler, QObject* parent);

    /// Lets the other side go.
    void drop();

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
