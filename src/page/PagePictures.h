#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

namespace pelorinnews {

/// A picture that was read whole.
struct PagePicture {
    QImage image;
    /// What it was read from: a file of the kind `format`, "png" or "jpeg" for instance.
    QByteArray file;
    QByteArray format;
};

/// Reads the pictures of one page that it carries in its own text (`data:` addresses), for
/// documents of Qt's, which read such pictures without bounds. Used once for each page.
///
/// PNG, JPEG, GIF, BMP and, where Qt has its reader, WebP are read, whichever of them the address
/// claims. Drawings (SVG) never are: what reads them opens files that they name.
///
/// All pictures of a page together have 32 million pixels at most, and take a second of the
/// processor's time at most. Kinds other than PNG and JPEG count four times: a copy has to write
/// them anew. One that is too large is passed over, and smaller ones may follow it.
class PagePictures {
public:
    /// The picture at `address`; its image is null where the address is no picture's, and where the
    /// picture is broken, of another kind or beyond what is left to the page.
    [[nodiscard]] PagePicture read(const QString &address);

private:
    qint64 _pixelsLeft = 32'000'000;
    qint64 _nanosecondsLeft = 1'000'000'000;
};

}  // namespace pelorinnews
