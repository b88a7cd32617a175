#pragma once

#include "pelorinnews/Error.h"

#include <QFileDevice>
#include <QString>

#include <system_error>

/// File errors: domain "QFileDevice", a code of `QFileDevice::FileError`, and a human-readable
/// text.
namespace pelorinnews::FileError {

[[nodiscard]] inline Error make(QFileDevice::FileError code, const QString &text) {
    return {QStringLiteral("QFileDevice"), code, {{Error::localizedDescriptionKey(), text}}};
}

/// The error for `number`, a value of `errno`. A full disk, an exhausted quota or a file beyond the
/// size limit always gives `ResourceError`, whatever `code` is.
[[nodiscard]] inline Error fromSystem(QFileDevice::FileError code, int number) {
    const bool isFull = number == ENOSPC || number == EDQUOT || number == EFBIG;
    return make(isFull ? QFileDevice::ResourceError : code,
                QString::fromStdString(std::generic_category().message(number)));
}

[[nodiscard]] inline Error notRegular() {
    return make(QFileDevice::OpenError, QStringLiteral("Not a regular file"));
}

}  // namespace pelorinnews::FileError
