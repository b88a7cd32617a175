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

constexpr qint64 longestHead = qint64{64} * 1024;
constexpr qint64 pieceSize = qint64{64} * 1024;
/// The next piece is made only when at most this many bytes are unsent, so that a huge body is
/// never in memory as a whole.
constexpr qint64 highWater = qint64{256} * 1024;

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

/// "/+OPTIONS/rest" as OPTIONS and "/rest"; an empty first part where there are none.
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
      socket(std::move(connected)),
      state(std::move(shared)),
      folder(std::move(feedFolder)) {
    timer.setSingleShot(true);
    state->connectionOpened();
    connect(socket.get(), &QTcpSocket::readyRead, this, &FeedConnection::readHead);
    connect(socket.get(), &QTcpSocket::bytesWritten, this, &FeedConnection::sendBody);
    // A TLS socket's bytesWritten means only that the bytes are encrypted.
    if (auto *tls = qobject_cast<QSslSocket *>(socket.get()))
        connect(tls, &QSslSocket::encryptedBytesWritten, this, &FeedConnection::sendBody);
    connect(socket.get(), &QTcpSocket::disconnected, this, &QObject::deleteLater);
    // If its TLS handshake fails, a socket may never emit `disconnected`.
    connect(socket.get(), &QTcpSocket::errorOccurred, this, [this] {
        if (socket->state() == QAbstractSocket::UnconnectedState)
            deleteLater();
    });
}

FeedConnection::~FeedConnection() {
    // The socket's last signals must not reach a half-destroyed object.
    socket->disconnect(this);
    socket.reset();
    state->connectionClosed();
}

void FeedConnection::readHead() {
    if (phase != Phase::ReadingHead)
        return;
    received += socket->readAll();
    const qsizetype headEnd = received.indexOf("\r\n\r\n");
    if (headEnd < 0) {
        if (received.size() > longestHead)
            end();
        return;
    }
    FeedRequest request;
    const QList<QByteArray> lines = received.left(headEnd).split('\n');
    received.remove(0, headEnd + 4);
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
    state->addRequest(std::move(request));

    const auto [optionsText, plainPath] = splitOptions(path);
    reply = state->replyFor(path);
    bodyWanted = method != "HEAD";
    redirectLocation = reply.redirectTo.value_or(QByteArray());
    if (!optionsText.isEmpty()) {
        QString whyNot;
        const auto parsed = FeedReply::parse(QString::fromUtf8(optionsText), &whyNot);
        reply = parsed.value_or(FeedReply());
        redirectLocation = reply.redirectTo.value_or(QByteArray());
        if (!parsed) {
            reply.status = 400;
            reply.body = "Unknown option: " + whyNot.toUtf8() + '\n';
        }
    }
    if (target.isEmpty() || (method != "GET" && method != "HEAD")) {
        reply = {};
        reply.status = target.isEmpty() ? 400 : 405;
        reply.body = QByteArray("");
    }
    if (reply.redirectLoop)
        redirectLocation = target;
    if (reply.redirects > 0)
        redirectLocation = "/+redirects=" + QByteArray::number(reply.redirects - 1) + plainPath +
                           (question < 0 ? QByteArray() : '?' + query);
    if (!redirectLocation.isNull() && reply.status / 100 != 3)
        reply.status = 302;
    sent = 0;
    body = redirectLocation.isNull() ? bodyFor(plainPath, query)
                                     : FeedBody(reply.body.value_or(QByteArray()));
    if (reply.status == 304 || reply.status == 204)
        bodyWanted = false;

    if (reply.cutBeforeHead) {
        end();
        return;
    }
    phase = Phase::Waiting;
    timer.disconnect(this);
    connect(&timer, &QTimer::timeout, this, &FeedConnection::sendHead);
    timer.start(reply.delayBeforeHead);
}

FeedBody FeedConnection::bodyFor(const QByteArray &path, const QByteArray &query) {
    const QString locale = queryItem(query, QStringLiteral("locale"));
    if (reply.generatedBytes || reply.endless) {
        const QString date = FeedTemplate::publicationDate(QDateTime::currentDateTimeUtc(), locale);
        const QString language = locale.isEmpty() ? QStringLiteral("en") : locale.left(2);
        return FeedBody::generated(reply.endless ? std::nullopt : reply.generatedBytes, language,
                                   date);
    }
    std::optional<QByteArray> bytes = reply.body;
    if (!bytes && path == feedPath) {
        const QString type = queryItem(query, QStringLiteral("type"));
        bytes = folder.feed(type.isEmpty() ? QStringLiteral("standard") : type, locale);
    } else if (!bytes) {
        bytes = folder.file(QString::fromUtf8(path.mid(1)));
    }
    if (!bytes) {
        if (reply.status == 200)
            reply.status = 404;
        bytes = reasonPhrase(reply.status) + '\n';
    }
    if (reply.invalidUtf8)
        bytes->append('\xff');
    return FeedBody(reply.gzip ? gzip(*bytes) : *bytes);
}

QByteArray FeedConnection::head() const {
    QByteArray text =
        "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' + reasonPhrase(reply.status) + "\r\n";
    if (!redirectLocation.isNull())
        text += "Location: " + redirectLocation + "\r\n";
    text += "Content-Type: application/rss+xml; charset=utf-8\r\n";
    if (reply.gzip)
        text += "Content-Encoding: gzip\r\n";
    const std::optional<qint64> length = body.remaining();
    const bool bodyless = reply.status == 304 || reply.status == 204;
    if (reply.framing == FeedReply::Framing::Chunked)
        text += "Transfer-Encoding: chunked\r\n";
    else if (reply.framing == FeedReply::Framing::Length && length && !bodyless)
        text += "Content-Length: " + QByteArray::number(*length + reply.lengthError) + "\r\n";
    text += reply.keepAlive ? "Connection: keep-alive\r\n" : "Connection: close\r\n";
    for (const auto &[name, value] : reply.headers)
        text += name + ": " + value + "\r\n";
    return text + "\r\n";
}

void FeedConnection::sendHead() {
    socket->write(head());
    phase = Phase::SendingBody;
    timer.disconnect(this);
    connect(&timer, &QTimer::timeout, this, &FeedConnection::sendBody);
    sendBody();
}

void FeedConnection::sendBody() {
    while (phase == Phase::SendingBody && !timer.isActive()) {
        if (bytesUnderWay() > highWater)
            return;
        if (reply.cutAfter && sent >= *reply.cutAfter) {
            end();
            return;
        }
        if (reply.stallAfter && sent >= *reply.stallAfter) {
            phase = Phase::Stalled;
            return;
        }
        qint64 most = reply.drip ? reply.drip->bytes : pieceSize;
        if (reply.cutAfter)
            most = std::min(most, *reply.cutAfter - sent);
        if (reply.stallAfter)
            most = std::min(most, *reply.stallAfter - sent);
        const QByteArray piece = bodyWanted ? body.take(most) : QByteArray();
        if (piece.isEmpty()) {
            bodyEnded();
            return;
        }
        sendPiece(piece);
        if (reply.drip)
            timer.start(reply.drip->interval);
    }
}

void FeedConnection::sendPiece(const QByteArray &piece) {
    if (reply.framing != FeedReply::Framing::Chunked) {
        socket->write(piece);
    } else if (reply.chunkError == FeedReply::ChunkError::Malformed && sent > 0) {
        socket->write("zz\r\n" + piece + "\r\n");
    } else if (reply.chunkError == FeedReply::ChunkError::Malformed) {
        // The first byte alone, so that even a short body has a second chunk.
        socket->write("1\r\n" + piece.left(1) + "\r\nzz\r\n" + piece.mid(1) + "\r\n");
    } else {
        socket->write(QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n");
    }
    sent += piece.size();
}

void FeedConnection::bodyEnded() {
    const bool chunked = reply.framing == FeedReply::Framing::Chunked && bodyWanted;
    if (chunked && reply.chunkError != FeedReply::ChunkError::Cut)
        socket->write("0\r\n\r\n");
    if (!reply.keepAlive || reply.framing == FeedReply::Framing::Close) {
        end();
        return;
    }
    phase = Phase::ReadingHead;
    readHead();
}

void FeedConnection::end() {
    if (std::exchange(phase, Phase::Ending) == Phase::Ending)
        return;
    // Queued, because the caller may be the socket, in the middle of a write, and a TLS socket has
    // its own queued flush, which needs the socket intact.
    QMetaObject::invokeMethod(this, &FeedConnection::cut, Qt::QueuedConnection);
}

void FeedConnection::cut() {
    if (reply.cutStyle == FeedReply::CutStyle::Close) {
        socket->disconnectFromHost();
        return;
    }
    // Send pending bytes before the reset.
    if (bytesUnderWay() > 0) {
        QTimer::singleShot(1, this, &FeedConnection::cut);
        return;
    }
    const linger none{1, 0};
    ::setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &none,
                 sizeof none);
    socket->abort();
}

qint64 FeedConnection::bytesUnderWay() const {
    const auto *tls = qobject_cast<const QSslSocket *>(socket.get());
    return socket->bytesToWrite() + (tls ? tls->encryptedBytesToWrite() : 0);
}

}  // namespace pelorinnews
