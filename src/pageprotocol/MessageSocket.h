#pragma once

#include "PageProtocol.h"
#include "platform/FileDescriptor.h"

#include <QList>
#include <QObject>
#include <QSocketNotifier>

#include <deque>
#include <functional>

namespace pelorinnews {

/// One end of the connection between host and page process: sends and receives datagrams of the
/// size of `RawMessage`. Lives on one thread with an event loop. Never blocks: datagrams that the
/// other side does not accept yet are queued, up to a limit.
class MessageSocket final : public QObject {
    Q_OBJECT

public:
    /// Whether the other side may send file descriptors.
    enum class Descriptors { Accept, Refuse };

    /// Handles a datagram; the descriptor is invalid if none came with it. Returns false if the
    /// datagram violates the protocol, which closes the connection.
    using Handler =
        std::function<bool(const pageprotocol::RawMessage &datagram, FileDescriptor descriptor)>;

    /// Both ends of a new connection, with the close-on-exec flag; invalid if the system has no
    /// descriptor left.
    [[nodiscard]] static std::pair<FileDescriptor, FileDescriptor> createPair();

    /// Takes one end, a `SOCK_SEQPACKET` socket.
    MessageSocket(FileDescriptor socket, Descriptors descriptors, Handler handler,
                  QObject *parent = nullptr);

    /// Sends the datagrams in their order, the last one with `descriptor` if that is valid. No-op
    /// when the connection is closed.
    void send(const QList<pageprotocol::RawMessage> &datagrams, FileDescriptor descriptor = {});

    [[nodiscard]] bool isOpen() const { return _socket.isValid(); }

    /// Whether datagrams wait because the other side does not accept them yet.
    [[nodiscard]] bool isWaiting() const { return !_waiting.empty(); }

    /// Closes the connection; nothing is received any more. `closed` is not emitted.
    void close();

Q_SIGNALS:
    /// The other side has accepted all datagrams, after `isWaiting` was true. Emitted from the
    /// event loop.
    void drained();

    /// The connection has ended: the other side closed it or violated the protocol, an operation
    /// failed, or the queue is full. Emitted once, from the event loop.
    void closed();

private:
    struct Waiting {
        pageprotocol::RawMessage datagram;
        FileDescriptor descriptor;
    };

    void sendWaiting();
    void sendMore();
    void receive();
    /// Receives and handles one datagram. Returns whether there may be another; false also if the
    /// handler has destroyed this object.
    [[nodiscard]] bool receiveNext();
    void end();

    FileDescriptor _socket;
    const Descriptors _descriptors;
    const Handler _handler;
    std::deque<Waiting> _waiting;
    QSocketNotifier _readable;
    QSocketNotifier _writable;
};

}  // namespace pelorinnews
