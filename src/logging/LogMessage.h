#pragma once

#include <pelorinnews/Error.h>
#include <pelorinnews/OlvLogger.h>

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

/// The levels that reach a logger. A level travels as a plain number, and any other number is
/// valid too: its message is dropped.
enum LogLevel : std::int32_t {
    LogLevelError = 1,
    LogLevelWarning = 2,
    LogLevelInfo = 3,
    LogLevelDebug = 4,
};

/// What `%@` prints for an argument. Anything absent (a null text, an invalid date or address, an
/// empty optional, a null pointer) prints "(null)"; an empty text prints nothing.
[[nodiscard]] QString logDescription(std::nullptr_t);
[[nodiscard]] QString logDescription(const QString &text);
[[nodiscard]] QString logDescription(const QUrl &address);
[[nodiscard]] QString logDescription(const QDateTime &date);
[[nodiscard]] QString logDescription(const Error &error);

/// A place where an error would be stored prints its address, such as "0x7ffd1c2b3a40", whatever
/// is stored there.
[[nodiscard]] QString logDescription(const Error *place);

template <class T>
requires std::integral<T> &&(!std::same_as<T, bool>) [[nodiscard]] QString
    logDescription(T number) {
    return QString::number(number);
}

/// An object prints what its `description()` says.
template <class T>
[[nodiscard]] QString logDescription(const std::shared_ptr<T> &object) {
    return object ? object->description() : logDescription(nullptr);
}

template <class T>
[[nodiscard]] QString logDescription(const std::optional<T> &value) {
    return value ? logDescription(*value) : logDescription(nullptr);
}

/// Replaces each `%@` of `format`, from left to right, by the next of `descriptions`, in one pass:
/// what a description holds is never read as format. `%%` prints one percent sign; any other `%`
/// stands for itself. A `%@` without a description stays as it is, and descriptions without a
/// `%@` are left out.
[[nodiscard]] QString formatLogMessage(QStringView format, const QStringList &descriptions);

/// Hands `text` to the operation of `logger` that stands for `level`, or drops it where the level
/// is none of the four.
void deliverLogMessage(OlvLogger &logger, std::int32_t level, const QString &text);

/// The bridge between the panel's messages and the host's logger. Each object that logs keeps its
/// own logger and calls this from its own `logMessage`:
///
///     logMessage(_logger.get(), LogLevelError, LogVocabulary::refreshContentFailed, error);
///
/// Without a logger nothing happens: the format is not expanded and the arguments are not asked
/// for their descriptions. Runs on the caller's thread. The reference given is the caller's own, as
/// `GuardedSlot::get` makes one, so replacing the logger meanwhile is harmless.
template <class... Arguments>
void logMessage(const std::shared_ptr<OlvLogger> &logger, std::int32_t level, QStringView format,
                const Arguments &...arguments) {
    if (!logger)
        return;
    deliverLogMessage(*logger, level, formatLogMessage(format, {logDescription(arguments)...}));
}

}  // namespace pelorinnews
