#include "FeedConnection.h"

#include "FeedServerState.h"
#include "FeedTemplate.h"
#include "Gzip.h"

#include <QDateTime>
#include <QSslSocket>
#include <QUrlQuery>

#include <sys/socket.h>
#include <utility>

namespace pelorinnews {

namespace {

constexpr qint64 maxHeadBytes = qint64{64} * 1024;
constexpr qint64 pieceSize = qint64{64} * 1024;
/// The next piece is made only when at most this many bytes are unsent, so that a huge body is
/// never in memory as a whole.
constexpr qint64 maxUnsentBytes = qint64{256} * 1024;

const QByteArray feedPath = "/RSS_Feed/PelorinNews.php";

QByteArray reasonPhrase(int status) {
    static const QHash<int, QByteArray> phrases = {{200, "OK"},
                                                   {204, "No Content"},
                                                   {301, "Moved Permanently"},
                                                   {302, "Found"},
                                                   {304, "Not Modified"},
                                                   {400, "Bad Request"},
                                                   {404, "Not Found"},
                                                   {500, "Internal Server Error"},
                                                   {503, "Service Unavailable"}};
    return phrases.value(status, "Status");
}

QString queryItem(const QByteArray &query, const QString &name) {
    return QUrlQuery(QString::fromUtf8(query)).queryItemValue(name, QUrl::FullyDecoded);
}

/// Splits "/+OPTIONS/rest" into OPTIONS and "/rest"; without options the first part is empty.
std::pair<QByteArray, QByteArray> splitOptions(const QByteArray &path) {
    if (!path.startsWith("/+"))
        return {{}, path};
    const qsizetype slash = path.indexOf('/', 2);
    if (slash < 0)
        return {path.mid(2), "/"};
    return {path.mid(2, slash - 2), path.mid(slash)};
}

}  // namespace

FeedConnection::FeedConnection(std::unique_ptr<QTcpSocket> connected,
                               std::shared_ptr<FeedServerState> shared, FeedFolder feedFolder,
                               QObject *parent)
    : QObject(parent),
      _socket(std::move(connected)),
      _state(std::move(shared)),
      _folder(std::move(feedFolder)) {
    _timer.setSingleShot(true);
    _state->connectionOpened();
    connect(_socket.get(), &QTcpSocket::readyRead, this, &FeedConnection::readHead);
    connect(_socket.get(), &QTcpSocket::bytesWritten, this, &FeedConnection::sendBody);
    // The bytesWritten of a TLS socket means only that the bytes are encrypted, not that they are
    // sent.
    if (auto *tls = qobject_cast<QSslSocket *>(_socket.get()))
        connect(tls, &QSslSocket::encryptedBytesWritten, this, &FeedConnection::sendBody);
    connect(_socket.get(), &QTcpSocket::disconnected, this, &QObject::deleteLater);
    // If its TLS handshake fails, a socket may never emit `disconnected`.
    connect(_socket.get(), &QTcpSocket::errorOccurred, this, [this] {
        if (_socket->state() == QAbstractSocket::UnconnectedState)
            deleteLater();
    });
}

FeedConnection::~FeedConnection() {
    // The socket's last signals must not reach a half-destroyed object.
    _socket->disconnect(this);
    _socket.reset();
    _state->connectionClosed();
}

void FeedConnection::readHead() {
    if (_phase != Phase::ReadingHead)
        return;
    _received += _socket->readAll();
    const qsizetype headEnd = _received.indexOf("\r\n\r\n");
    if (headEnd < 0) {
        if (_received.size() > maxHeadBytes)
            end();
        return;
    }
    FeedRequest request;
    const QList<QByteArray> lines = _received.left(headEnd).split('\n');
    _received.remove(0, headEnd + 4);
    for (const QByteArray &ended : lines) {
        const QByteArray line = ended.endsWith('\r') ? ended.chopped(1) : ended;
        if (&ended == &lines.front()) {
            request.requestLine = line;
            continue;
        }
        const qsizetype colon = line.indexOf(':');
        if (colon > 0)
            request.headers.emplace_back(line.left(colon), line.mid(colon + 1).trimmed());
    }
    answer(std::move(request));
}

void FeedConnection::answer(FeedRequest request) {
    const QByteArray target = request.target();
    const QByteArray method = request.requestLine.left(request.requestLine.indexOf(' '));
    const qsizetype question = target.indexOf('?');
    const QByteArray path = target.left(question < 0 ? target.size() : question);
    const QByteArray query = question < 0 ? QByteArray() : target.mid(question + 1);
    _state->addRequest(std::move(request));

    const auto [optionsText, plainPath] = splitOptions(path);
    _reply = _state->replyFor(path);
    _bodyWanted = method != "HEAD";
    _redirectLocation = _reply.redirectTo.value_or(QByteArray());
    if (!optionsText.isEmpty()) {
        QString whyNot;
        const auto parsed = FeedReply::parse(QString::fromUtf8(optionsText), &whyNot);
        _reply = parsed.value_or(FeedReply());
        _redirectLocation = _reply.redirectTo.value_or(QByteArray());
        if (!parsed) {
            _reply.status = 400;
            _reply.body = "Unknown option: " + whyNot.toUtf8() + '\n';
        }
    }
    if (target.isEmpty() || (method != "GET" && method != "HEAD")) {
        _reply = {};
        _reply.status = target.isEmpty() ? 400 : 405;
        _reply.body = QByteArray("");
    }
    if (_reply.redirectLoop)
        _redirectLocation = target;
    if (_reply.redirects > 0)
        _redirectLocation = "/+redirects=" + QByteArray::number(_reply.redirects - 1) + plainPath +
                            (question < 0 ? QByteArray() : '?' + query);
    if (!_redirectLocation.isNull() && _reply.status / 100 != 3)
        _reply.status = 302;
    _sent = 0;
    _body = _redirectLocation.isNull() ? bodyFor(plainPath, query)
                                       : FeedBody(_reply.body.value_or(QByteArray()));
    if (_reply.status == 304 || _reply.status == 204)
        _bodyWanted = false;

    if (_reply.cutBeforeHead) {
        end();
        return;
    }
    _phase = Phase::Waiting;
    _timer.disconnect(this);
    connect(&_timer, &QTimer::timeout, this, &FeedConnection::sendHead);
    _timer.start(_reply.delayBeforeHead);
}

FeedBody FeedConnection::bodyFor(const QByteArray &path, const QByteArray &query) {
    const QString locale = queryItem(query, QStringLiteral("locale"));
    if (_reply.generatedBytes || _reply.endless) {
        const QString date = FeedTemplate::publicationDate(QDateTime::currentDateTimeUtc(), locale);
        const QString language = locale.isEmpty() ? QStringLiteral("en") : locale.left(2);
        return FeedBody::generated(_reply.endless ? std::nullopt : _reply.generatedBytes, language,
                                   date);
    }
    std::optional<QByteArray> bytes = _reply.body;
    if (!bytes && path == feedPath) {
        const QString type = queryItem(query, QStringLiteral("type"));
        bytes = _folder.feed(type.isEmpty() ? QStringLiteral("standard") : type, locale);
    } else if (!bytes) {
        bytes = _folder.file(QString::fromUtf8(path.mid(1)));
    }
    if (!bytes) {
        if (_reply.status == 200)
            _reply.status = 404;
        bytes = reasonPhrase(_reply.status) + '\n';
    }
    if (_reply.invalidUtf8)
        bytes->append('\xff');
    return FeedBody(_reply.gzip ? gzip(*bytes) : *bytes);
}

QByteArray FeedConnection::head() const {
    QByteArray text = "HTTP/1.1 " + QByteArray::number(_reply.status) + ' ' +
                      reasonPhrase(_reply.status) + "\r\n";
    if (!_redirectLocation.isNull())
        text += "Location: " + _redirectLocation + "\r\n";
    text += "Content-Type: application/rss+xml; charset=utf-8\r\n";
    if (_reply.gzip)
        text += "Content-Encoding: gzip\r\n";
    const std::optional<qint64> length = _body.remaining();
    const bool bodyless = _reply.status == 304 || _reply.status == 204;
    if (_reply.framing == FeedReply::Framing::Chunked)
        text += "Transfer-Encoding: chunked\r\n";
    else if (_reply.framing == FeedReply::Framing::Length && length && !bodyless)
        text += "Content-Length: " + QByteArray::number(*length + _reply.lengthError) + "\r\n";
    text += _reply.keepAlive ? "Connection: keep-alive\r\n" : "Connection: close\r\n";
    for (const auto &[name, value] : _reply.headers)
        text += name + ": " + value + "\r\n";
    return text + "\r\n";
}

void FeedConnection::sendHead() {
    _socket->write(head());
    _phase = Phase::SendingBody;
    _timer.disconnect(this);
    connect(&_timer, &QTimer::timeout, this, &FeedConnection::sendBody);
    sendBody();
}

void FeedConnection::sendBody() {
    while (_phase == Phase::SendingBody && !_timer.isActive()) {
        if (bytesUnderWay() > maxUnsentBytes)
            return;
        if (_reply.cutAfter && _sent >= *_reply.cutAfter) {
            end();
            return;
        }
        if (_reply.stallAfter && _sent >= *_reply.stallAfter) {
            _phase = Phase::Stalled;
            return;
        }
        qint64 maxSize = _reply.drip ? _reply.drip->bytes : pieceSize;
        if (_reply.cutAfter)
            maxSize = std::min(maxSize, *_reply.cutAfter - _sent);
        if (_reply.stallAfter)
            maxSize = std::min(maxSize, *_reply.stallAfter - _sent);
        const QByteArray piece = _bodyWanted ? _body.take(maxSize) : QByteArray();
        if (piece.isEmpty()) {
            bodyEnded();
            return;
        }
        sendPiece(piece);
        if (_reply.drip)
            _timer.start(_reply.drip->interval);
    }
}

void FeedConnection::sendPiece(const QByteArray &piece) {
    if (_reply.framing != FeedReply::Framing::Chunked) {
        _socket->write(piece);
    } else if (_reply.chunkError == FeedReply::ChunkError::Malformed && _sent > 0) {
        _socket->write("zz\r\n" + piece + "\r\n");
    } else if (_reply.chunkError == FeedReply::ChunkError::Malformed) {
        // The first chunk has one byte, so that even a short body has a second chunk, whose size is
        // malformed.
        _socket->write("1\r\n" + piece.left(1) + "\r\nzz\r\n" + piece.mid(1) + "\r\n");
    } else {
        _socket->write(QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n");
    }
    _sent += piece.size();
}

void FeedConnection::bodyEnded() {
    const bool chunked = _reply.framing == FeedReply::Framing::Chunked && _bodyWanted;
    if (chunked && _reply.chunkError != FeedReply::ChunkError::Cut)
        _socket->write("0\r\n\r\n");
    if (!_reply.keepAlive || _reply.framing == FeedReply::Framing::Close) {
        end();
        return;
    }
    _phase = Phase::ReadingHead;
    readHead();
}

void FeedConnection::end() {
    if (std::exchange(_phase, Phase::Ending) == Phase::Ending)
        return;
    // Queued, because a signal that the socket emits in the middle of a write may lead here, and
    // because a TLS socket queues a flush of its own and must not be closed before that.
    QMetaObject::invokeMethod(this, &FeedConnection::cut, Qt::QueuedConnection);
}

void FeedConnection::cut() {
    if (_reply.cutStyle == FeedReply::CutStyle::Close) {
        _socket->disconnectFromHost();
        return;
    }
    // Send pending bytes before the reset.
    if (bytesUnderWay() > 0) {
        QTimer::singleShot(1, this, &FeedConnection::cut);
        return;
    }
    const linger none{1, 0};
    ::setsockopt(static_cast<int>(_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &none,
                 sizeof none);
    _socket->abort();
}

qint64 FeedConnection::bytesUnderWay() const {
    const auto *tls = qobject_cast<const QSslSocket *>(_socket.get());
    return _socket->bytesToWrite() + (tls ? tls->encryptedBytesToWrite() : 0);
}

}  // namespace pelorinnews
