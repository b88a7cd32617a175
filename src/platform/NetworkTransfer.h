#pragma once

#include "NetworkRequest.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>

#include <functional>
#include <memory>

namespace pelorinnews {

/// One request under way on the loader's thread: gathers the body and completes the request when
/// the reply has finished.
class NetworkTransfer final : public QObject {
public:
    /// Sends `sending` through `manager`. `onEnd` is called once, when the request has been
    /// completed, from within the reply's signal: the transfer must not be destroyed there.
    NetworkTransfer(NetworkRequest sending, QNetworkAccessManager &manager, qint64 longest,
                    std::function<void()> onEnd);
    ~NetworkTransfer() override;

    [[nodiscard]] bool hasEnded() const { return ended; }

    /// Completes the request as cancelled, unless it has ended.
    void cancel();

private:
    void gather();
    void finish();
    [[nodiscard]] NetworkOutcome outcome();
    /// Absent where the transfer came whole, whatever its status.
    [[nodiscard]] std::optional<Error> transportError(int status) const;

    NetworkRequest request;
    const qint64 longestBody;
    std::function<void()> onEnd;
    std::unique_ptr<QNetworkReply> reply;
    QByteArray body{""};
    bool tooLong = false;
    bool ended = false;
};

}  // namespace pelorinnews
