#pragma once

#include <QByteArray>
#include <QHash>
#include <QStringList>
#include <QTcpServer>

namespace pelorinnews::test {

/// A web server on the loopback interface that answers the pages' requests and records them. Also
/// an HTTP proxy: it answers requests for any host itself. Their paths are whole addresses.
class PageServer final : public QObject {
    Q_OBJECT

public:
    struct Answer {
        QByteArray body;
        QByteArray type = "text/html; charset=utf-8";
        QByteArray status = "200 OK";
        /// Additional header lines, each with its line end.
        QByteArray headers = {};
    };

    PageServer();

    /// Sets the answer to requests for `path`; all other paths get 404.
    void setAnswer(const QByteArray &path, const Answer &answer) { _answers[path] = answer; }

    [[nodiscard]] quint16 port() const { return _server.serverPort(); }

    /// "http://127.0.0.1:PORT"
    [[nodiscard]] QString address() const;

    /// "METHOD path" of every request since the last `clear`, in order; " with a cookie" is
    /// appended if the request had one.
    [[nodiscard]] QStringList requests() const { return _requests; }
    void clear() { _requests.clear(); }

private:
    void serve();
    void answer(QTcpSocket *socket, const QByteArray &head);

    QTcpServer _server;
    QHash<QByteArray, Answer> _answers;
    QStringList _requests;
};

}  // namespace pelorinnews::test
