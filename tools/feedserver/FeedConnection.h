#pragma once

#include "FeedBody.h"
#include "FeedFolder.h"
#include "FeedReply.h"
#include "FeedRequest.h"

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

#include <memory>

namespace pelorinnews {

class FeedServerState;

/// One connection of the feed server: reads a request, answers with the reply that is set for it,
/// and deletes itself when the connection has ended. Lives on the server's thread.
class FeedConnection : public QObject {
public:
    /// Takes ownership of `connected`, which is open; on TLS, encryption has not started yet.
    FeedConnection(std::unique_ptr<QTcpSocket> connected, std::shared_ptr<FeedServerState> shared,
                   FeedFolder feedFolder, QObject *parent);
    ~FeedConnection() override;

private:
    enum class Phase { ReadingHead, Waiting, SendingBody, Stalled, Ending };

    void readHead();
    void answer(FeedRequest request);
    void sendHead();
    void sendBody();
    void sendPiece(const QByteArray &piece);
    void bodyEnded();
    /// Ends the connection, in the reply's `cutStyle`, after pending bytes are sent.
    void end();
    void cut();
    [[nodiscard]] qint64 bytesUnderWay() const;
    [[nodiscard]] FeedBody bodyFor(const QByteArray &path, const QByteArray &query);
    [[nodiscard]] QByteArray head() const;

    std::unique_ptr<QTcpSocket> _socket;
    std::shared_ptr<FeedServerState> _state;
    FeedFolder _folder;
    QTimer _timer;
    Phase _phase = Phase::ReadingHead;
    QByteArray _received;

    FeedReply _reply;
    FeedBody _body;
    QByteArray _redirectLocation;
    bool _bodyWanted = true;
    qint64 _sent = 0;
};

}  // namespace pelorinnews
