#pragma once

#include <QByteArray>
#include <QSize>

/// Malicious picture files, each a few kilobytes or megabytes.
namespace pelorinnews::test {

/// A PNG of a few bytes that declares the largest size that pages may ask for.
[[nodiscard]] QByteArray hugePicture();

/// An ordinary black picture of that size.
[[nodiscard]] QByteArray plainPicture(QSize size, const char *format = "PNG");

/// A PNG of few pixels with `count` text chunks, each of 8 MB compressed.
[[nodiscard]] QByteArray pictureWithTexts(int count);

/// A GIF with an area of `screen`, whose only frame covers and declares just `frame`.
[[nodiscard]] QByteArray framedPicture(QSize screen, QSize frame);

/// A progressive JPEG of 25 million pixels that is painted over `count` more times.
[[nodiscard]] QByteArray repaintedPicture(int count);

}  // namespace pelorinnews::test
