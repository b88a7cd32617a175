#pragma once

#include "pelorinnews/Error.h"
#include "pelorinnews/OlvLogger.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace pelorinnews {

/// The levels that reach a logger. Unscoped, because callers pass a level as a plain number;
/// messages of any other level are dropped.
enum LogLevel : std::int32_t {
    LogLevelError = 1,
    LogLevelWarning = 2,
    LogLevelInfo = 3,
    LogLevelDebug = 4,
};

/// The text that `%@` prints for an argument. Anything absent (a null text, an invalid date or
/// address, an empty optional, a null pointer) prints "(null)"; an empty text prints nothing.
[[nodiscard]] QString logDescription(std::nullptr_t);
[[nodiscard]] QString logDescription(const QString &text);
[[nodiscard]] QString logDescription(const QUrl &address);
[[nodiscard]] QString logDescription(const QDateTime &date);
[[nodiscard]] QString logDescription(const Error &error);

/// A pointer prints its address, such as "0x7ffd1c2b3a40", not the error that it points to.
[[nodiscard]] QString logDescription(const Error *place);

template <class T>
requires std::integral<T> &&(!std::same_as<T, bool>) [[nodiscard]] QString
    logDescription(T number) {
    return QString::number(number);
}

/// An object prints its `description()`.
template <class T>
[[nodiscard]] QString logDescription(const std::shared_ptr<T> &object) {
    return object ? object->description() : logDescription(nullptr);
}

template <class T>
[[nodiscard]] QString logDescription(const std::optional<T> &value) {
    return value ? logDescription(*value) : logDescription(nullptr);
}

/// Replaces each `%@` of `format`, from left to right, by the next of `descriptions`, in a single
/// pass: a `%` in a description is never read as format. `%%` prints one percent sign; any other
/// `%` is copied. A `%@` without a description is copied too; surplus descriptions are dropped.
[[nodiscard]] QString formatLogMessage(QStringView format, const QStringList &descriptions);

/// Calls the function of `logger` for `level` with `text`; drops the text if `level` is not a
/// `LogLevel`.
void deliverLogMessage(OlvLogger &logger, std::int32_t level, const QString &text);

/// The bridge between the panel's messages and the host's logger. Each object that logs keeps its
/// own logger and calls this from its own `logMessage`:
///
///     logMessage(_logger.get(), LogLevelError, LogVocabulary::refreshContentFailed, error);
///
/// Without a logger this is a no-op: the format is not expanded and no description is computed.
/// Runs on the caller's thread. The caller passes its own reference (`GuardedSlot::get` returns a
/// copy), so another thread may replace the logger meanwhile.
template <class... Arguments>
void logMessage(const std::shared_ptr<OlvLogger> &logger, std::int32_t level, QStringView format,
                const Arguments &...arguments) {
    if (!logger)
        return;
    deliverLogMessage(*logger, level, formatLogMessage(format, {logDescription(arguments)...}));
}

}  // namespace pelorinnews
