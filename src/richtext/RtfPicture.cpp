#include "RtfPicture.h"

#include "RtfText.h"
#include "page/PagePictures.h"

#include <QBuffer>
#include <QImage>

#include <algorithm>
#include <cmath>

namespace pelorinnews {

namespace {

// Six inches: the width of the text on a sheet with ordinary margins.
constexpr double maxWidth = 8640;
constexpr double maxHeight = 12960;

QSizeF shownSize(QSizeF asked, QSize picture) {
    const double ratio = static_cast<double>(picture.height()) / picture.width();
    QSizeF size = asked;
    if (!(size.width() > 0))
        size.setWidth(size.height() > 0 ? size.height() / ratio : picture.width());
    if (!(size.height() > 0))
        size.setHeight(size.width() * ratio);
    size *= twipsPerPixel;
    const double shrink = std::min({1.0, maxWidth / size.width(), maxHeight / size.height()});
    return size * shrink;
}

int atLeastOne(double value) {
    return std::max(1, static_cast<int>(std::lround(value)));
}

// PNG quality for fast compression. Strong compression takes a quarter of a second for each million
// pixels.
constexpr int fastCompression = 70;

QByteArray pngOf(const QImage &image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG", fastCompression))
        return {};
    return bytes;
}

}  // namespace

QByteArray rtfPicture(const PagePicture &picture, QSizeF size) {
    if (picture.image.isNull())
        return {};
    const bool jpeg = picture.format == "jpeg";
    const QByteArray bytes = jpeg || picture.format == "png" ? picture.file : pngOf(picture.image);
    if (bytes.isEmpty())
        return {};
    const QSizeF shown = shownSize(size, picture.image.size());
    QByteArray out = jpeg ? "{\\pict\\jpegblip" : "{\\pict\\pngblip";
    appendRtfWord(out, "\\picw", picture.image.width());
    appendRtfWord(out, "\\pich", picture.image.height());
    appendRtfWord(out, "\\picwgoal", atLeastOne(shown.width()));
    appendRtfWord(out, "\\pichgoal", atLeastOne(shown.height()));
    out += '\n';
    out += bytes.toHex();
    out += '}';
    return out;
}

}  // namespace pelorinnews
