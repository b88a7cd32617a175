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

/// Reads the pictures that a page carries in its own text (`data:` addresses), for documents of
/// Qt's, which read such pictures without bounds.
///
/// PNG, JPEG, GIF, BMP and, where Qt has its reader, WebP are read, whichever of them the address
/// claims. Drawings (SVG) never are: what reads them opens files that they name.
class PagePictures {
public:
    /// The picture at `address`; its image is null where the address is no picture's, and where the
    /// picture is broken, of another kind or larger than 32 million pixels.
    [[nodiscard]] PagePicture read(const QString &address) const;
};

}  // namespace pelorinnews
