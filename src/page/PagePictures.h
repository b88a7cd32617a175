#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

namespace pelorinnews {

/// A picture that was read completely.
struct PagePicture {
    QImage image;
    /// The file that it was read from, in the format `format`, for example "png" or "jpeg".
    QByteArray file;
    QByteArray format;
};

/// Reads the pictures that a page embeds in its own text (`data:` addresses), for Qt's documents,
/// which would read such pictures without limits. Use one object for each page.
///
/// PNG, JPEG, GIF, BMP and, if Qt has its reader, WebP are read, whatever type the address claims.
/// SVG drawings never are: their reader opens files that the drawing names.
///
/// All pictures of a page together are limited to 32 million pixels and to a second of CPU time.
/// Kinds other than PNG and JPEG count four times, because a copy has to encode them again. A
/// picture that is too large is skipped; smaller ones after it may still be read.
class PagePictures {
public:
    /// The picture at `address`. Its image is null if the address is not a picture's, or if the
    /// picture is broken, of another kind, or beyond what is left of the page's limits.
    [[nodiscard]] PagePicture read(const QString &address);

private:
    qint64 _pixelsLeft = 32'000'000;
    qint64 _nanosecondsLeft = 1'000'000'000;
};

}  // namespace pelorinnews
