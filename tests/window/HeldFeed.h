#pragma once

#include <QByteArray>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

namespace pelorinnews::test {

/// A feed service that holds its answer until the test releases it, so that the test can examine
/// the state during a download. Handles one request at a time, on the test's own thread.
class HeldFeed {
public:
    HeldFeed();

    [[nodiscard]] QString address() const;

    /// Waits for a request. False on timeout.
    [[nodiscard]] bool isAsked();

    /// Answers the request that `isAsked` found.
    void answer(const QByteArray &feed, int status = 200);

private:
    QTcpServer _server;
    QTcpSocket *_client = nullptr;
};

}  // namespace pelorinnews::test
