#pragma once

#include <pelorinnews/OlvLogger.h>

#include <QObject>

namespace pelorinnews::host {

enum class LogLevel { Error = 1, Warning, Info, Debug };

/// The host's log, as the news module sees it: turns each message into a signal.
///
/// The module calls from its own threads, too. A receiver that lives on the main thread gets the
/// signal there, in the order in which one thread logged; nobody waits for it.
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
