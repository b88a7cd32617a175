#pragma once

#include <QByteArray>
#include <QSize>

/// Picture files that mean no good, each a few kilobytes or megabytes.
namespace pelorinnews::test {

/// A PNG that says it is as large as pages may ask for, in a few bytes.
[[nodiscard]] QByteArray hugePicture();

/// A black picture of that size, as it would be written honestly.
[[nodiscard]] QByteArray plainPicture(QSize size, const char *format = "PNG");

/// A PNG of few pixels with `count` pieces of text beside them, packed from 8 MB each.
[[nodiscard]] QByteArray pictureWithTexts(int count);

/// A GIF with an area of `screen`, only `frame` of which it fills and says it has.
[[nodiscard]] QByteArray framedPicture(QSize screen, QSize frame);

/// A progressive JPEG of 25 million pixels that is painted over `count` more times.
[[nodiscard]] QByteArray repaintedPicture(int count);

}  // namespace pelorinnews::test
