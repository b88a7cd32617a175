#include "BusProbe.h"

#include "FileDescriptor.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QDeadlineTimer>
#include <QThread>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace pelorinnews {

namespace {

/// Before another try to connect to a bus whose queue of connections is full.
constexpr unsigned long pause = 50;  // ms

QByteArray sessionBus() {
    QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    // Where the variable is not set, libdbus looks there, and then for a bus of the display.
    return address.isEmpty() && !folder.isEmpty() ? "unix:path=" + folder + "/bus;autolaunch:"
                                                  : address;
}

/// The name of the socket that one of a bus's addresses stands for, as the kernel wants it; absent
/// if it stands for none. A value in an address is percent-encoded.
std::optional<QByteArray> socketOf(const QByteArray &address) {
    if (!address.startsWith("unix:"))
        return std::nullopt;
    for (const QByteArray &pair : address.mid(address.indexOf(':') + 1).split(',')) {
        const qsizetype equals = pair.indexOf('=');
        const QByteArray key = pair.left(equals);
        const QByteArray value = QByteArray::fromPercentEncoding(pair.mid(equals + 1));
        if (key == "path")
            return value;
        if (key == "abstract")
            return '\0' + value;
    }
    return std::nullopt;
}

enum class Connection { Made, Refused, TimedOut };

Connection connectTo(int descriptor, const QByteArray &name, const QDeadlineTimer &deadline) {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    if (name.isEmpty() || static_cast<size_t>(name.size()) >= sizeof place.sun_path)
        return Connection::Refused;
    std::memcpy(place.sun_path, name.constData(), static_cast<size_t>(name.size()));
    // An abstract name ends with its length, a path with its null.
    const bool isPath = name.front() != '\0';
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path)) +
                        static_cast<socklen_t>(name.size()) + (isPath ? 1U : 0U);
    while (::connect(descriptor, reinterpret_cast<const sockaddr *>(&place), length) != 0) {
        if (errno != EAGAIN && errno != EINTR)
            return Connection::Refused;
        if (deadline.hasExpired())
            return Connection::TimedOut;
        QThread::msleep(pause);
    }
    return Connection::Made;
}

/// Begins to log in, which the bus answers whoever we are.
bool isAnswered(int descriptor, const QDeadlineTimer &deadline) {
    constexpr char question[] = "\0AUTH\r\n";
    constexpr size_t size = sizeof question - 1;
    if (::send(descriptor, question, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size))
        return false;
    pollfd arrival{descriptor, POLLIN, 0};
    int ready = 0;
    do
        ready = ::poll(&arrival, 1, static_cast<int>(deadline.remainingTime()));
    while (ready < 0 && errno == EINTR);
    char first = 0;
    return ready > 0 && ::recv(descriptor, &first, 1, MSG_DONTWAIT) == 1;
}

}  // namespace

bool busAnswers(const QString &address, std::chrono::milliseconds timeout) {
    const QDeadlineTimer deadline(timeout);
    const QByteArray all = address.isEmpty() ? sessionBus() : address.toUtf8();
    // A client uses the first address that it can connect to.
    for (const QByteArray &each : all.split(';')) {
        const std::optional<QByteArray> name = socketOf(each);
        if (!name)
            return true;
        const FileDescriptor socket(
            ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (!socket.isValid())
            return false;
        const Connection connection = connectTo(socket.get(), *name, deadline);
        if (connection != Connection::Refused)
            return connection == Connection::Made && isAnswered(socket.get(), deadline);
    }
    return false;
}

}  // namespace pelorinnews
