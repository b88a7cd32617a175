#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <list>
#include <thread>

using SSL_CTX = struct ssl_ctx_st;

namespace pelorinnews::test {

/// The bytes that a `ScriptedServer` sends for one request.
struct Script {
    enum class End {
        Close,  ///< An orderly end: on TLS a close_notify, then FIN.
        Cut,    ///< FIN alone: on TLS this looks as if the connection had been cut off.
        Reset,  ///< RST.
        Hold    ///< The connection stays open until the client closes it.
    };
    /// Sent in order, with `pause` in between.
    QList<QByteArray> pieces;
    End end = End::Close;
    std::chrono::milliseconds pause{0};
    /// Repeats the last piece until the client closes the connection.
    bool endless = false;
};

/// A server on the loopback interface that answers each request with scripted bytes, HTTP or not,
/// over plain TCP or TLS. It does not parse a request; it only detects the end of its header
/// fields. Each connection has its own thread.
class ScriptedServer {
public:
    /// Returns the script for a request; called on the connections' threads.
    using Choice = std::function<Script(const QByteArray &requestHead)>;

    /// TLS with `certificateFile` and `keyFile` (PEM), plain TCP without. Ends the process on
    /// failure.
    explicit ScriptedServer(Choice choice, const QString &certificateFile = {},
                            const QString &keyFile = {});
    /// Ends every connection.
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer &) = delete;
    ScriptedServer &operator=(const ScriptedServer &) = delete;

    /// "http://127.0.0.1:PORT" or "https://…" with `path` appended.
    [[nodiscard]] QString address(const QString &path) const;
    [[nodiscard]] int port() const { return _listeningPort; }

private:
    class Connection;

    void accept();
    void serve(int descriptor);

    const Choice _choice;
    SSL_CTX *_tls = nullptr;
    int _listening = -1;
    int _listeningPort = 0;
    std::atomic<bool> _ending = false;
    std::list<std::thread> _connections;
    std::thread _acceptor;
};

}  // namespace pelorinnews::test
