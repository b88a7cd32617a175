#include "HeldFeed.h"

#include <QTcpSocket>
#include <QTest>

namespace pelorinnews::test {

HeldFeed::HeldFeed() {
    if (!server.listen(QHostAddress::LocalHost))
        qFatal("no held feed: %s", qPrintable(server.errorString()));
}

QString HeldFeed::address() const {
    return QStringLiteral("http://127.0.0.1:%1/held.xml").arg(server.serverPort());
}

bool HeldFeed::isAsked() {
    QByteArray head;
    return QTest::qWaitFor(
        [&] {
            if (!client)
                client = server.nextPendingConnection();
            if (client)
                head += client->readAll();
            return head.endsWith("\r\n\r\n");
        },
        testPatience);
}

void HeldFeed::answer(const QByteArray &feed, int status) {
    client->write("HTTP/1.1 " + QByteArray::number(status) +
                  " Held\r\nConnection: close\r\nContent-Length: " +
                  QByteArray::number(feed.size()) + "\r\n\r\n" + feed);
    client->disconnectFromHost();
    client = nullptr;
}

}  // namespace pelorinnews::test
