#include "RawBus.h"

#include <QFile>

#include <cstring>
#include <map>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// Types of messages and codes of header fields in the wire format.
constexpr quint8 replyType = 2;
constexpr quint8 errorType = 3;
constexpr quint8 signalType = 4;
constexpr quint8 pathField = 1;
constexpr quint8 interfaceField = 2;
constexpr quint8 memberField = 3;
constexpr quint8 errorField = 4;
constexpr quint8 replySerialField = 5;
constexpr quint8 senderField = 7;
constexpr quint8 signatureField = 8;

constexpr qsizetype fixedHeader = 16;

quint32 numberAt(const QByteArray &bytes, qsizetype at) {
    quint32 number = 0;
    std::memcpy(&number, bytes.constData() + at, sizeof number);
    return number;
}

qsizetype aligned(qsizetype at, qsizetype to) {
    return (at + to - 1) / to * to;
}

void sendAll(int client, const QByteArray &bytes) {
    for (qsizetype at = 0; at < bytes.size();) {
        const ssize_t sent = ::send(client, bytes.constData() + at,
                                    static_cast<size_t>(bytes.size() - at), MSG_NOSIGNAL);
        if (sent <= 0)
            return;
        at += sent;
    }
}

/// Reads until `bytes` holds `size` bytes. False if the client has gone.
bool readUntil(int client, QByteArray &bytes, qsizetype size) {
    while (bytes.size() < size) {
        char buffer[4096];
        const ssize_t got = ::recv(client, buffer, sizeof buffer, 0);
        if (got <= 0)
            return false;
        bytes.append(buffer, got);
    }
    return true;
}

class MessageHeader {
public:
    MessageHeader(quint8 type, const MessageBody &body, quint32 serial) {
        _header.addByte('l');
        _header.addByte(type);
        _header.addByte(1);  // no reply expected
        _header.addByte(1);  // version
        _header.addNumber(static_cast<quint32>(body.bytes.size()));
        _header.addNumber(serial);
        _header.addNumber(0);  // the size of the fields, set at the end
        if (!body.signature.isEmpty()) {
            beginField(signatureField, "g");
            _header.addSignature(body.signature);
        }
    }
    void addText(quint8 field, const char *type, const QByteArray &text) {
        beginField(field, type);
        _header.addText(text);
    }
    void addNumber(quint8 field, quint32 value) {
        beginField(field, "u");
        _header.addNumber(value);
    }
    [[nodiscard]] QByteArray finished() {
        const auto size = static_cast<quint32>(_header.bytes.size() - fixedHeader);
        std::memcpy(_header.bytes.data() + fixedHeader - sizeof size, &size, sizeof size);
        _header.align(8);
        return _header.bytes;
    }

private:
    void beginField(quint8 field, const char *type) {
        _header.align(8);
        _header.addByte(field);
        _header.addSignature(type);
    }

    MessageBody _header;
};

/// Name of the method that the message `call` calls.
QByteArray methodOf(const QByteArray &call) {
    const qsizetype end = fixedHeader + numberAt(call, fixedHeader - 4);
    for (qsizetype at = fixedHeader; at < end;) {
        at = aligned(at, 8);
        const char field = call[at];
        const char type = call[at + 2];
        at += 4;
        if (type == 'g') {
            at += static_cast<uchar>(call[at]) + 2;
            continue;
        }
        const quint32 value = numberAt(call, at);
        at += 4;
        if (field == memberField)
            return call.mid(at, value);
        if (type != 'u')
            at += value + 1;
    }
    return {};
}

}  // namespace

void MessageBody::align(qsizetype to) {
    bytes.append(aligned(bytes.size(), to) - bytes.size(), '\0');
}

void MessageBody::addByte(quint8 value) {
    bytes.append(static_cast<char>(value));
}

void MessageBody::addNumber(quint32 value) {
    align(4);
    bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
}

void MessageBody::addLong(quint64 value) {
    align(8);
    bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
}

void MessageBody::addText(const QByteArray &text) {
    addNumber(static_cast<quint32>(text.size()));
    bytes.append(text).append('\0');
}

void MessageBody::addSignature(const QByteArray &text) {
    addByte(static_cast<quint8>(text.size()));
    bytes.append(text).append('\0');
}

void MessageBody::addArray(qsizetype alignment, const std::function<void()> &addElements) {
    addNumber(0);
    const qsizetype sizeAt = bytes.size() - 4;
    align(alignment);
    const qsizetype start = bytes.size();
    addElements();
    const auto size = static_cast<quint32>(bytes.size() - start);
    std::memcpy(bytes.data() + sizeAt, &size, sizeof size);
}

RawBus::RawBus(Answers answers) : _answers(std::move(answers)) {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(_folder.filePath(QStringLiteral("bus")));
    std::strncpy(place.sun_path, path.constData(), sizeof place.sun_path - 1);
    _listening = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(_listening, reinterpret_cast<sockaddr *>(&place), sizeof place) != 0 ||
        ::listen(_listening, 8) != 0)
        qFatal("the bus cannot listen");
    _thread = std::thread([this] { serve(); });
}

RawBus::~RawBus() {
    ::shutdown(_listening, SHUT_RDWR);
    hangUp();
    _thread.join();
    ::close(_listening);
}

QString RawBus::address() const {
    return QStringLiteral("unix:path=") + _folder.filePath(QStringLiteral("bus"));
}

void RawBus::serve() {
    for (;;) {
        const int client = ::accept4(_listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0)
            return;
        {
            const std::lock_guard lock(_mutex);
            _client = client;
        }
        serveClient(client);
        const std::lock_guard lock(_mutex);
        _client = -1;
        ::close(client);
    }
}

void RawBus::serveClient(int client) {
    QByteArray bytes;
    // Authentication: lines, until "BEGIN".
    for (;;) {
        while (!bytes.contains("\r\n"))
            if (!readUntil(client, bytes, bytes.size() + 1))
                return;
        const qsizetype end = bytes.indexOf("\r\n");
        const QByteArray line = bytes.first(end);
        bytes.remove(0, end + 2);
        if (line.contains("BEGIN"))
            break;
        sendAll(client, line.contains("AUTH EXTERNAL")
                            ? QByteArray("OK 0123456789abcdef0123456789abcdef\r\n")
                            : QByteArray("ERROR\r\n"));
    }
    while (readUntil(client, bytes, fixedHeader)) {
        const qsizetype size = aligned(fixedHeader + numberAt(bytes, fixedHeader - 4), 8) +
                               static_cast<qsizetype>(numberAt(bytes, 4));
        if (!readUntil(client, bytes, size))
            return;
        reply(client, bytes.first(size));
        bytes.remove(0, size);
    }
}

void RawBus::reply(int client, const QByteArray &call) {
    static const std::map<QByteArray, QByteArray> texts = {
        {"Hello", ":1.1"}, {"GetId", "0123456789abcdef"}, {"GetNameOwner", ":1.9"}};
    const QByteArray method = methodOf(call);
    Answer answer;
    if (const auto known = texts.find(method); known != texts.end()) {
        answer.body.signature = "s";
        answer.body.addText(known->second);
    } else if (method != "AddMatch" && method != "RemoveMatch") {
        answer = _answers(method);
    }
    const std::lock_guard lock(_mutex);
    const bool isError = !answer.errorName.isEmpty();
    MessageHeader header(isError ? errorType : replyType, answer.body, ++_serial);
    header.addNumber(replySerialField, numberAt(call, 8));
    header.addText(senderField, "s", "org.freedesktop.DBus");
    if (isError)
        header.addText(errorField, "s", answer.errorName);
    sendAll(client, header.finished() + answer.body.bytes);
}

void RawBus::sendSignal(const QByteArray &sender, const QByteArray &path,
                        const QByteArray &interface, const QByteArray &name,
                        const MessageBody &body) {
    const std::lock_guard lock(_mutex);
    MessageHeader header(signalType, body, ++_serial);
    header.addText(senderField, "s", sender);
    header.addText(pathField, "o", path);
    header.addText(interfaceField, "s", interface);
    header.addText(memberField, "s", name);
    sendAll(_client, header.finished() + body.bytes);
}

void RawBus::hangUp() {
    const std::lock_guard lock(_mutex);
    if (_client >= 0)
        ::shutdown(_client, SHUT_RDWR);
}
