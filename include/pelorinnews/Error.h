#pragma once

#include <pelorinnews/PrintableText.h>

#include <QString>
#include <QVariantMap>

namespace pelorinnews {

/// A failure: who reports it (`domain`), which one it is (`code`), and what else is known
/// (`userInfo`, may be empty). A plain value; nothing in the module throws.
struct Error {
    QString domain;
    int code = 0;
    QVariantMap userInfo;

    /// The entry of `userInfo` that holds a text for people, where the reporter has one.
    static QString localizedDescriptionKey() { return QStringLiteral("NSLocalizedDescription"); }

    /// The entry of `userInfo` under which the entry object puts its message text.
    static QString underlyingErrorKey() { return QStringLiteral("NSUnderlyingErrorKey"); }

    /// One line for logs: domain and code, then the text for people where there is one, without
    /// control characters: it may have come from the network.
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
