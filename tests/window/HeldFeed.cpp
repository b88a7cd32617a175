#include "HeldFeed.h"

#include <QTcpSocket>
#include <QTest>

namespace pelorinnews::test {

HeldFeed::HeldFeed() {
    if (!_server.listen(QHostAddress::LocalHost))
        qFatal("the feed service does not start: %s", qPrintable(_server.errorString()));
}

QString HeldFeed::address() const {
    return QStringLiteral("http://127.0.0.1:%1/held.xml").arg(_server.serverPort());
}

bool HeldFeed::isAsked() {
    QByteArray head;
    return QTest::qWaitFor(
        [&] {
            if (!_client)
                _client = _server.nextPendingConnection();
            if (_client)
                head += _client->readAll();
            return head.endsWith("\r\n\r\n");
        },
        testPatience);
}

void HeldFeed::answer(const QByteArray &feed, int status) {
    _client->write("HTTP/1.1 " + QByteArray::number(status) +
                   " Held\r\nConnection: close\r\nContent-Length: " +
                   QByteArray::number(feed.size()) + "\r\n\r\n" + feed);
    _client->disconnectFromHost();
    _client = nullptr;
}

}  // namespace pelorinnews::test
