#pragma once

#include "pelorinnews/PrintableText.h"

#include <QString>
#include <QVariantMap>

namespace pelorinnews {

/// An error. A plain value; nothing in the module throws.
struct Error {
    /// Who reports it.
    QString domain;
    /// Which error of the domain it is.
    int code = 0;
    /// Further details; may be empty.
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
