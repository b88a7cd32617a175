#include "LogMessage.h"

namespace pelorinnews {

QString logDescription(std::nullptr_t) {
    return QStringLiteral("(null)");
}

QString logDescription(const QString &text) {
    return text.isNull() ? logDescription(nullptr) : text;
}

QString logDescription(const QUrl &address) {
    return address.isValid() ? address.toString(QUrl::FullyEncoded) : logDescription(nullptr);
}

QString logDescription(const QDateTime &date) {
    return date.isValid() ? date.toUTC().toString(Qt::ISODateWithMs) : logDescription(nullptr);
}

QString logDescription(const Error &error) {
    return error.description();
}

QString logDescription(const Error *place) {
    if (!place)
        return logDescription(nullptr);
    return QStringLiteral("0x") + QString::number(reinterpret_cast<quintptr>(place), 16);
}

QString formatLogMessage(QStringView format, const QStringList &descriptions) {
    QString text = QStringLiteral("");
    qsizetype copied = 0;
    qsizetype used = 0;
    while (true) {
        const qsizetype percent = format.indexOf(u'%', copied);
        if (percent < 0 || percent + 1 == format.size())
            return text.append(format.sliced(copied));

        text.append(format.sliced(copied, percent - copied));
        copied = percent + 2;
        const QChar conversion = format[percent + 1];
        if (conversion == u'@' && used < descriptions.size()) {
            text.append(descriptions[used++]);
        } else if (conversion == u'%') {
            text.append(u'%');
        } else {
            text.append(u'%');
            copied = percent + 1;
        }
    }
}

void deliverLogMessage(OlvLogger &logger, std::int32_t level, const QString &text) {
    switch (level) {
        case LogLevelError:
            return logger.addErrorMessage(text);
        case LogLevelWarning:
            return logger.addWarningMessage(text);
        case LogLevelInfo:
            return logger.addInfoMessage(text);
        case LogLevelDebug:
            return logger.addDebugMessage(text);
        default:
            return;
    }
}

}  // namespace pelorinnews
