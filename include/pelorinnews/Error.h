#pragma once

#include "pelorinnews/PrintableText.h"

#include <QString>
#include <QVariantMap>

namespace pelorinnews {

/// An error: `domain` names who reports it, `code` which error it is, and `userInfo` (may be empty)
/// holds further details. A plain value; nothing in the module throws.
struct Error {
    QString domain;
    int code = 0;
    QVariantMap userInfo;

    /// Key in `userInfo` of a human-readable text; the entry may be absent.
    static QString localizedDescriptionKey() { return QStringLiteral("NSLocalizedDescription"); }

    /// Key in `userInfo` under which `NewsPlugin::init` stores its message text.
    static QString underlyingErrorKey() { return QStringLiteral("NSUnderlyingErrorKey"); }

    /// One line for logs: domain and code, then the human-readable text, if any. That text may come
    /// from the network, so its control characters are replaced.
    [[nodiscard]] QString description() const {
        QString line = QStringLiteral("Error Domain=") + domain + QStringLiteral(" Code=") +
                       QString::number(code);
        const QString text = printableText(userInfo.value(localizedDescriptionKey()).toString());
        if (!text.isEmpty())
            line += QStringLiteral(" \"") + text + QLatin1Char('"');
        return line;
    }

    friend bool operator==(const Error &, const Error &) = default;
};

}  // namespace pelorinnews
