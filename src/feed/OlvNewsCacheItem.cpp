#include "OlvNewsCacheItem.h"

namespace pelorinnews {

namespace {

QString shown(const QString &text) {
    return text.isNull() ? QStringLiteral("(null)") : text;
}

QString shown(const QDateTime &date) {
    if (!date.isValid())
        return QStringLiteral("(null)");
    return date.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) + QStringLiteral(" +0000");
}

}  // namespace

QString OlvNewsCacheItem::description() const {
    return QStringLiteral("OlvNewsCacheItem\n\ttitle: ") + shown(title()) +
           QStringLiteral("\n\tdate: ") + shown(date()) + QStringLiteral("\n\tcategory: ") +
           shown(category()) + QStringLiteral("\n\tcontent: ") + shown(plainTextContent()) +
           QStringLiteral("\n\tencoded content: ") + shown(htmlContent());
}

}  // namespace pelorinnews
