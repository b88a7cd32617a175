#pragma once

#include <QByteArray>
#include <QString>
#include <QTcpServer>

class QTcpSocket;

namespace pelorinnews::test {

/// A feed service that lets whoever asks wait until the test has it answer: what is to be seen
/// while a download is under way then stays for as long as it takes to look. For one request at a
/// time, on the test's own thread.
class HeldFeed {
public:
    HeldFeed();

    [[nodiscard]] QString address() const;

    /// Waits for a request. False in vain.
    [[nodiscard]] bool isAsked();

    /// Answers the request that `isAsked` found.
    void answer(const QByteArray &feed, int status = 200);

private:
    QTcpServer server;
    QTcpSocket *client = nullptr;
};

}  // namespace pelorinnews::test
