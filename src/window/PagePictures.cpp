#include "PagePictures.h"

#include <QBuffer>
#include <QImageReader>

#include <array>

namespace pelorinnews {

namespace {

constexpr qint64 mostPixels = 32'000'000;

QByteArray bytesOf(const QString &address) {
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

/// Told by the first bytes, so that no reader but that of the kind is ever handed them.
QByteArray formatOf(const QByteArray &file) {
    struct Kind {
        QByteArrayView start;
        const char *format;
    };
    static constexpr std::array<Kind, 5> kinds{{
        {"\x89PNG\r\n", "png"},
        {"\xff\xd8\xff", "jpeg"},
        {"GIF8", "gif"},
        {"BM", "bmp"},
        {"RIFF", "webp"},
    }};
    for (const Kind &kind : kinds) {
        if (file.startsWith(kind.start))
            return kind.format;
    }
    return {};
}

}  // namespace

PagePicture PagePictures::read(const QString &address) const {
    PagePicture picture;
    picture.file = bytesOf(address);
    picture.format = formatOf(picture.file);
    if (picture.format.isEmpty())
        return {};
    QBuffer device(&picture.file);
    device.open(QIODevice::ReadOnly);
    QImageReader reader(&device, picture.format);
    reader.setAutoDetectImageFormat(false);
    const QSize size = reader.size();
    if (size.isEmpty() || qint64{size.width()} * size.height() > mostPixels)
        return {};
    picture.image = reader.read();
    return picture;
}

}  // namespace pelorinnews
