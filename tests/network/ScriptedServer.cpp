#include "ScriptedServer.h"

#include <QFile>

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace pelorinnews::test {

namespace {

/// Waits until `descriptor` is readable, in short steps, so that the server can end at any time.
/// False if it ends.
bool waitReadable(int descriptor, const std::atomic<bool> &ending) {
    while (!ending) {
        pollfd waiting{descriptor, POLLIN, 0};
        if (::poll(&waiting, 1, 20) != 0)
            return true;
    }
    return false;
}

void check(bool held, const char *what) {
    if (!held)
        qFatal("scripted server: %s", what);
}

}  // namespace

/// One accepted connection, encrypted or plain.
class ScriptedServer::Connection {
public:
    Connection(int accepted, SSL_CTX *context, const std::atomic<bool> &serverEnds)
        : _descriptor(accepted), _ending(serverEnds) {
        const timeval timeout{0, 100'000};
        ::setsockopt(_descriptor, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        ::setsockopt(_descriptor, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
        if (!context)
            return;
        _ssl = SSL_new(context);
        SSL_set_fd(_ssl, _descriptor);
        int result = 0;
        while ((result = SSL_accept(_ssl)) <= 0 && mayRetry(result)) {
        }
        _usable = result == 1;
    }
    ~Connection() {
        if (_ssl)
            SSL_free(_ssl);
        ::close(_descriptor);
    }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    /// Reads a request up to the empty line after its header fields; null if the client closes
    /// before.
    QByteArray readHead() {
        QByteArray head;
        while (_usable && !head.contains("\r\n\r\n")) {
            char byte = 0;
            const int got = read(&byte, 1);
            if (got == 0)
                return {};
            if (got > 0)
                head += byte;
        }
        return _usable ? head : QByteArray();
    }

    bool send(const QByteArray &bytes) {
        qsizetype sent = 0;
        while (sent < bytes.size() && !_ending) {
            const char *from = bytes.constData() + sent;
            const auto left = static_cast<int>(bytes.size() - sent);
            const int put =
                _ssl ? SSL_write(_ssl, from, left)
                     : static_cast<int>(::send(_descriptor, from, std::size_t(left), MSG_NOSIGNAL));
            if (put <= 0 && !mayRetry(put))
                return false;
            sent += std::max(put, 0);
        }
        return !_ending;
    }

    void end(Script::End how) {
        if (how == Script::End::Reset) {
            const linger none{1, 0};
            ::setsockopt(_descriptor, SOL_SOCKET, SO_LINGER, &none, sizeof none);
            return;
        }
        if (how == Script::End::Close && _ssl && SSL_get_shutdown(_ssl) == 0)
            SSL_shutdown(_ssl);
        if (how != Script::End::Hold)
            ::shutdown(_descriptor, SHUT_WR);
        // Reads everything first: closing with unread data would reset the connection.
        char ignored[512];
        while (waitReadable(_descriptor, _ending) &&
               ::recv(_descriptor, ignored, sizeof ignored, 0) > 0) {
        }
    }

private:
    /// Returns the number of bytes read, 0 at the end, or -1 if the caller should try again.
    int read(char *to, int size) {
        const int got = _ssl ? SSL_read(_ssl, to, size)
                             : static_cast<int>(::recv(_descriptor, to, std::size_t(size), 0));
        if (got > 0)
            return got;
        return mayRetry(got) ? -1 : 0;
    }

    bool mayRetry(int result) {
        if (_ending)
            return false;
        if (!_ssl)
            return result < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
        const int error = SSL_get_error(_ssl, result);
        return error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE;
    }

    const int _descriptor;
    const std::atomic<bool> &_ending;
    SSL *_ssl = nullptr;
    bool _usable = true;
};

ScriptedServer::ScriptedServer(Choice chosen, const QString &certificateFile,
                               const QString &keyFile)
    : _choice(std::move(chosen)) {
    if (!certificateFile.isEmpty()) {
        _tls = SSL_CTX_new(TLS_server_method());
        check(_tls, "no TLS");
        check(SSL_CTX_use_certificate_chain_file(
                  _tls, QFile::encodeName(certificateFile).constData()) == 1,
              "no certificate");
        check(SSL_CTX_use_PrivateKey_file(_tls, QFile::encodeName(keyFile).constData(),
                                          SSL_FILETYPE_PEM) == 1,
              "no key");
    }
    _listening = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto *plain = reinterpret_cast<sockaddr *>(&address);
    socklen_t size = sizeof address;
    check(::bind(_listening, plain, size) == 0, "no port");
    check(::listen(_listening, 128) == 0, "not listening");
    check(::getsockname(_listening, plain, &size) == 0, "no address");
    _listeningPort = ntohs(address.sin_port);
    _acceptor = std::thread([this] { accept(); });
}

ScriptedServer::~ScriptedServer() {
    _ending = true;
    _acceptor.join();
    for (std::thread &connection : _connections)
        connection.join();
    ::close(_listening);
    if (_tls)
        SSL_CTX_free(_tls);
}

QString ScriptedServer::address(const QString &path) const {
    return QString::fromLatin1(_tls ? "https" : "http") + QStringLiteral("://127.0.0.1:") +
           QString::number(_listeningPort) + path;
}

void ScriptedServer::accept() {
    while (waitReadable(_listening, _ending)) {
        const int descriptor = ::accept4(_listening, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor >= 0)
            _connections.emplace_back([this, descriptor] { serve(descriptor); });
    }
}

void ScriptedServer::serve(int descriptor) {
    // OpenSSL may write to a socket whose peer is gone, which raises SIGPIPE. The signal is blocked
    // on this thread only: a test must still notice if a client in the same process raises it.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    Connection connection(descriptor, _tls, _ending);
    const QByteArray head = connection.readHead();
    if (head.isNull())
        return;
    const Script script = _choice(head);
    bool reached = true;
    for (qsizetype at = 0; at < script.pieces.size() && reached; ++at) {
        if (at > 0)
            std::this_thread::sleep_for(script.pause);
        reached = connection.send(script.pieces[at]);
    }
    while (script.endless && reached)
        reached = connection.send(script.pieces.last());
    connection.end(script.end);
}

}  // namespace pelorinnews::test
