#pragma once

#include "pelorinnews/OlvLogger.h"

#include <QObject>

namespace pelorinnews::host {

enum class LogLevel { Error = 1, Warning, Info, Debug };

/// The host's logger for the news module: emits a signal for each message.
///
/// Thread-safe: the module also logs from its own threads. A receiver on the main thread gets the
/// signal on the main thread. The messages of one thread keep their order, and a background thread
/// does not wait for the receiver.
class HostLogger final : public QObject, public OlvLogger {
    Q_OBJECT

public:
    void addErrorMessage(const QString &message) override;
    void addWarningMessage(const QString &message) override;
    void addInfoMessage(const QString &message) override;
    void addDebugMessage(const QString &message) override;

Q_SIGNALS:
    void messageAdded(pelorinnews::host::LogLevel level, const QString &message);
};

}  // namespace pelorinnews::host
