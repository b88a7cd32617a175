#include "RichTextDocument.h"

#include "RtfHeader.h"

#include <QFont>
#include <QUrl>

namespace pelorinnews {

RichTextDocument::RichTextDocument() {
    setUndoRedoEnabled(false);
    setDefaultFont(QFont(RtfHeader::defaultFontFamily(), RtfHeader::defaultFontHalfPoints / 2));
}

QVariant RichTextDocument::loadResource(int type, const QUrl &name) {
    if (type != ImageResource || name.scheme() != QStringLiteral("data"))
        return {};
    const QByteArray picture = dataPicture(name.toString(QUrl::FullyEncoded));
    return picture.isEmpty() ? QVariant() : QVariant(picture);
}

QByteArray dataPicture(const QString &address) {
    const qsizetype comma = address.indexOf(QLatin1Char(','));
    if (comma < 0)
        return {};
    const QString kind = address.left(comma).trimmed().toLower();
    if (!kind.startsWith(QStringLiteral("data:image/")))
        return {};
    QByteArray payload =
        QByteArray::fromPercentEncoding(QStringView(address).mid(comma + 1).toUtf8());
    if (!kind.endsWith(QStringLiteral(";base64")))
        return payload;
    return QByteArray::fromBase64(payload);
}

}  // namespace pelorinnews
