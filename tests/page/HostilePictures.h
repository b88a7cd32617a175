#pragma once

#include <QByteArray>
#include <QSize>

/// Malicious picture files, none larger than a few megabytes.
namespace pelorinnews::test {

/// A PNG of a few hundred bytes that declares 65,000 by 65,000 pixels.
[[nodiscard]] QByteArray hugePicture();

/// An ordinary black picture of size `size`.
[[nodiscard]] QByteArray plainPicture(QSize size, const char *format = "PNG");

/// A PNG of few pixels with `count` compressed text chunks, each of 8 MB when decompressed.
[[nodiscard]] QByteArray pictureWithTexts(int count);

/// A GIF whose logical screen has the size `screen`, and whose only frame has the size `frame`.
[[nodiscard]] QByteArray framedPicture(QSize screen, QSize frame);

/// A progressive JPEG of 25 million pixels whose last scan is repeated `count` times.
[[nodiscard]] QByteArray repaintedPicture(int count);

}  // namespace pelorinnews::test
