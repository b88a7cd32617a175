#include "RtfPicture.h"

#include "RtfText.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>

#include <algorithm>
#include <cmath>

namespace pelorinnews {

namespace {

constexpr qint64 mostPixels = 32'000'000;
// Six inches: the width of the text on a sheet with ordinary margins.
constexpr double widest = 8640;
constexpr double tallest = 12960;

QSizeF shownSize(QSizeF asked, QSize picture) {
    const double ratio = static_cast<double>(picture.height()) / picture.width();
    QSizeF size = asked;
    if (!(size.width() > 0))
        size.setWidth(size.height() > 0 ? size.height() / ratio : picture.width());
    if (!(size.height() > 0))
        size.setHeight(size.width() * ratio);
    size *= twipsPerPixel;
    const double shrink = std::min({1.0, widest / size.width(), tallest / size.height()});
    return size * shrink;
}

int atLeastOne(double value) {
    return std::max(1, static_cast<int>(std::lround(value)));
}

QByteArray pngOf(const QImage &image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return {};
    return bytes;
}

}  // namespace

QByteArray rtfPicture(const QByteArray &data, QSizeF size) {
    QBuffer buffer;
    buffer.setData(data);
    if (!buffer.open(QIODevice::ReadOnly))
        return {};
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    const QByteArray format = reader.format();
    const QSize stated = reader.size();
    if (stated.isEmpty() || qint64{stated.width()} * stated.height() > mostPixels)
        return {};
    // Read whole even where the bytes go as they are: a broken picture gives way to its text.
    const QImage image = reader.read();
    if (image.isNull())
        return {};

    const bool jpeg = format == "jpeg" || format == "jpg";
    const QByteArray bytes = jpeg || format == "png" ? data : pngOf(image);
    if (bytes.isEmpty())
        return {};
    const QSizeF shown = shownSize(size, image.size());
    QByteArray out = jpeg ? "{\\pict\\jpegblip" : "{\\pict\\pngblip";
    appendRtfWord(out, "\\picw", image.width());
    appendRtfWord(out, "\\pich", image.height());
    appendRtfWord(out, "\\picwgoal", atLeastOne(shown.width()));
    appendRtfWord(out, "\\pichgoal", atLeastOne(shown.height()));
    out += '\n';
    out += bytes.toHex();
    out += '}';
    return out;
}

}  // namespace pelorinnews
