#pragma once

#include "pageprotocol/MessageCodec.h"
#include "pageprotocol/MessageSocket.h"
#include "pageprotocol/StartArguments.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

namespace pelorinnews {

/// A running page process, which shows pages with the web engine. Main thread only: the process is
/// killed when the thread that started it ends. Destroying the object kills the process.
class PageChild final : public QObject {
    Q_OBJECT

public:
    /// Handles a message from the process. May destroy the `PageChild`.
    using Handler = std::function<void(const pageprotocol::ChildMessage &message)>;

    /// Starts `program`. Null if it is absent or cannot be started. Does not wait for the process.
    [[nodiscard]] static std::unique_ptr<PageChild> start(const QString &program,
                                                          const StartArguments &arguments,
                                                          Handler handler);
    ~PageChild() override;

    template <class Message>
    void send(const Message &message, FileDescriptor descriptor = {}) {
        _socket.send(pageprotocol::encoded<pageprotocol::HostMessage>(message),
                     std::move(descriptor));
    }

    /// Whether the process does not take its messages as fast as they are sent.
    [[nodiscard]] bool isBehind() const { return _socket.isWaiting(); }

    [[nodiscard]] qint64 id() const { return _number; }

    /// Whether the process speaks another version of the protocol, which ends the connection.
    [[nodiscard]] bool isOtherVersion() const { return _isOtherVersion; }

Q_SIGNALS:
    /// The process has ended, or has violated the protocol and was killed. Emitted once, from the
    /// event loop.
    void ended();

    /// The process has taken all messages, after `isBehind` was true. Emitted from the event loop.
    void caughtUp();

private:
    PageChild(FileDescriptor socket, qint64 id, std::shared_ptr<const FileDescriptor> process,
              Handler handler);

    bool receive(const pageprotocol::RawMessage &datagram);
    void kill() const;

    const qint64 _number;
    /// A pidfd: refers to the process even after its pid was reused. Shared with the object that
    /// reaps the process.
    const std::shared_ptr<const FileDescriptor> _process;
    const Handler _handler;
    bool _isGreeted = false;
    bool _isOtherVersion = false;
    pageprotocol::MessageReader<pageprotocol::ChildMessage> _reader;
    MessageSocket _socket;
};

}  // namespace pelorinnews
