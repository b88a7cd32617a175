#include "HostLogger.h"

namespace pelorinnews::host {

void HostLogger::addErrorMessage(const QString &message) {
    Q_EMIT messageAdded(LogLevel::Error, message);
}

void HostLogger::addWarningMessage(const QString &message) {
    Q_EMIT messageAdded(LogLevel::Warning, message);
}

void HostLogger::addInfoMessage(const QString &message) {
    Q_EMIT messageAdded(LogLevel::Info, message);
}

void HostLogger::addDebugMessage(const QString &message) {
    Q_EMIT messageAdded(LogLevel::Debug, message);
}

}  // namespace pelorinnews::host
