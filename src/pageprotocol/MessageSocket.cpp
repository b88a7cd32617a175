#include "MessageSocket.h"

#include <QPointer>

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <utility>

namespace pelorinnews {

namespace {

using pageprotocol::RawMessage;

/// Maximum number of queued datagrams; 32 MB in total. That is more than the longest text together
/// with all input that a user can make before a hanging process is detected.
constexpr size_t maxWaiting = 8192;

/// How many datagrams are handled before the event loop may handle other events.
constexpr int maxInOneTurn = 64;

enum class Outcome { Done, Later, Failed };

union ControlBuffer {
    cmsghdr header;
    std::array<char, CMSG_SPACE(sizeof(int))> bytes;
};

bool wouldBlock() {
    return errno == EAGAIN || errno == EWOULDBLOCK;
}

Outcome sendOne(int socket, const RawMessage &datagram, int descriptor) {
    iovec content{const_cast<RawMessage *>(&datagram), sizeof datagram};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    ControlBuffer control{};
    if (descriptor >= 0) {
        message.msg_control = control.bytes.data();
        message.msg_controllen = control.bytes.size();
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    }
    while (::sendmsg(socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
        if (errno != EINTR)
            return wouldBlock() ? Outcome::Later : Outcome::Failed;
    }
    return Outcome::Done;
}

// Without a control buffer, the system discards received descriptors and sets MSG_CTRUNC.
Outcome receiveOne(int socket, RawMessage &datagram, FileDescriptor *descriptor) {
    iovec content{&datagram, sizeof datagram};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    ControlBuffer control{};
    if (descriptor) {
        message.msg_control = control.bytes.data();
        message.msg_controllen = control.bytes.size();
    }
    ssize_t received = 0;
    while ((received = ::recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC)) < 0) {
        if (errno != EINTR)
            return wouldBlock() ? Outcome::Later : Outcome::Failed;
    }
    const cmsghdr *header = descriptor ? CMSG_FIRSTHDR(&message) : nullptr;
    if (header && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS &&
        header->cmsg_len == CMSG_LEN(sizeof(int))) {
        int number = -1;
        std::memcpy(&number, CMSG_DATA(header), sizeof number);
        *descriptor = FileDescriptor(number);
    }
    const bool isWhole = received == static_cast<ssize_t>(sizeof datagram) &&
                         (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) == 0;
    return isWhole ? Outcome::Done : Outcome::Failed;
}

}  // namespace

std::pair<FileDescriptor, FileDescriptor> MessageSocket::createPair() {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return {FileDescriptor(), FileDescriptor()};
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

MessageSocket::MessageSocket(FileDescriptor socket, Descriptors descriptors, Handler handler,
                             QObject *parent)
    : QObject(parent),
      _socket(std::move(socket)),
      _descriptors(descriptors),
      _handler(std::move(handler)),
      _readable(_socket.get(), QSocketNotifier::Read),
      _writable(_socket.get(), QSocketNotifier::Write) {
    _writable.setEnabled(false);
    connect(&_readable, &QSocketNotifier::activated, this, &MessageSocket::receive);
    connect(&_writable, &QSocketNotifier::activated, this, &MessageSocket::sendMore);
}

void MessageSocket::send(const QList<RawMessage> &datagrams, FileDescriptor descriptor) {
    if (!isOpen())
        return;
    for (const RawMessage &datagram : datagrams)
        _waiting.push_back({datagram, FileDescriptor()});
    // The last datagram carries the message itself.
    if (!datagrams.isEmpty())
        _waiting.back().descriptor = std::move(descriptor);
    sendWaiting();
}

void MessageSocket::sendWaiting() {
    while (isOpen() && !_waiting.empty()) {
        const Waiting &next = _waiting.front();
        const Outcome outcome = sendOne(_socket.get(), next.datagram, next.descriptor.get());
        if (outcome == Outcome::Failed || _waiting.size() > maxWaiting)
            return end();
        if (outcome == Outcome::Later)
            break;
        _waiting.pop_front();
    }
    if (isWaiting())
        _writable.setEnabled(true);
}

// Only this function disables the notifier: `send` may empty the queue, too, but must not emit
// `drained` itself.
void MessageSocket::sendMore() {
    sendWaiting();
    if (!isOpen() || isWaiting())
        return;
    _writable.setEnabled(false);
    Q_EMIT drained();
}

void MessageSocket::receive() {
    for (int i = 0; i < maxInOneTurn; ++i) {
        if (!receiveNext())
            return;
    }
}

bool MessageSocket::receiveNext() {
    const QPointer<MessageSocket> self(this);
    RawMessage datagram;
    FileDescriptor descriptor;
    const Outcome outcome = receiveOne(_socket.get(), datagram,
                                       _descriptors == Descriptors::Accept ? &descriptor : nullptr);
    if (outcome == Outcome::Later)
        return false;
    // A copy, because the handler may destroy this object.
    const Handler handler = _handler;
    if (outcome == Outcome::Done && handler(datagram, std::move(descriptor)))
        return self && isOpen();
    if (self)
        end();
    return false;
}

void MessageSocket::close() {
    _readable.setEnabled(false);
    _writable.setEnabled(false);
    _waiting.clear();
    _socket = FileDescriptor();
}

void MessageSocket::end() {
    if (!isOpen())
        return;
    close();
    QMetaObject::invokeMethod(this, &MessageSocket::closed, Qt::QueuedConnection);
}

}  // namespace pelorinnews
