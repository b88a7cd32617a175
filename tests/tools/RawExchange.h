#pragma once

#include <QElapsedTimer>
#include <QSslSocket>

#include <chrono>

namespace pelorinnews::test {

/// One exchange over its own socket: what was sent, and every byte that came back, with no HTTP
/// client in between to hide anything.
class RawExchange {
public:
    RawExchange(quint16 port, bool tls) {
        _socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        if (tls)
            _socket.connectToHostEncrypted(QStringLiteral("127.0.0.1"), port);
        else
            _socket.connectToHost(QStringLiteral("127.0.0.1"), port);
        _connected =
            tls ? _socket.waitForEncrypted(testPatience) : _socket.waitForConnected(testPatience);
    }

    [[nodiscard]] bool isConnected() const { return _connected; }

    void send(const QByteArray &bytes) {
        _socket.write(bytes);
        _socket.flush();
    }

    void sendGet(const QByteArray &target) {
        send("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    }

    /// Reads until the connection has ended, `enough` bytes have arrived or `timeout` has expired.
    void gather(std::chrono::milliseconds timeout = std::chrono::milliseconds(testPatience),
                qint64 enough = std::numeric_limits<qint64>::max()) {
        QElapsedTimer elapsed;
        elapsed.start();
        while (received.size() < enough && elapsed.elapsed() < timeout.count()) {
            const qint64 rest = timeout.count() - elapsed.elapsed();
            if (_socket.bytesAvailable() == 0 &&
                !_socket.waitForReadyRead(static_cast<int>(rest)) &&
                _socket.state() != QAbstractSocket::ConnectedState)
                break;
            received += _socket.readAll();
        }
        received += _socket.readAll();
    }

    [[nodiscard]] bool hasEnded() const {
        return _socket.state() != QAbstractSocket::ConnectedState;
    }
    /// Everything before the empty line, including the line end of the last header line.
    [[nodiscard]] QByteArray head() const {
        return received.left(received.indexOf("\r\n\r\n") + 2);
    }
    /// Everything after the empty line, framing included.
    [[nodiscard]] QByteArray body() const {
        const qsizetype end = received.indexOf("\r\n\r\n");
        return end < 0 ? QByteArray() : received.mid(end + 4);
    }
    [[nodiscard]] QByteArray statusLine() const { return received.left(received.indexOf("\r\n")); }

    QByteArray received;

private:
    QSslSocket _socket;
    bool _connected = false;
};

}  // namespace pelorinnews::test
