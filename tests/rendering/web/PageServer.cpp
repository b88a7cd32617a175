#include "PageServer.h"

#include <QTcpSocket>

namespace pelorinnews::test {

PageServer::PageServer() {
    if (!_server.listen(QHostAddress::LocalHost))
        qFatal("the page server does not start");
    connect(&_server, &QTcpServer::newConnection, this, &PageServer::serve);
}

QString PageServer::address() const {
    return QStringLiteral("http://127.0.0.1:%1").arg(_server.serverPort());
}

void PageServer::serve() {
    while (QTcpSocket *socket = _server.nextPendingConnection()) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this,
                [this, socket, head = QByteArray()]() mutable {
                    const bool answered = head.contains("\r\n\r\n");
                    head += socket->readAll();
                    if (!answered && head.contains("\r\n\r\n"))
                        answer(socket, head);
                });
    }
}

void PageServer::answer(QTcpSocket *socket, const QByteArray &head) {
    const QList<QByteArray> line = head.left(head.indexOf("\r\n")).split(' ');
    const QByteArray target = line.value(1);
    _requests.append(QString::fromLatin1(line.value(0) + ' ' + target +
                                         (head.contains("\r\nCookie:") ? " with a cookie" : "")));
    const Answer missing{{}, "text/plain", "404 Not Found"};
    const Answer found = _answers.value(target.split('?').first(), missing);
    socket->write("HTTP/1.1 " + found.status + "\r\nContent-Type: " + found.type +
                  "\r\nContent-Length: " + QByteArray::number(found.body.size()) + "\r\n" +
                  found.headers + "Connection: close\r\n\r\n" + found.body);
    socket->disconnectFromHost();
}

}  // namespace pelorinnews::test
