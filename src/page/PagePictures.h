#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <chrono>

namespace pelorinnews {

/// An image that was read completely.
struct PagePicture {
    QImage image;
    /// The encoded image, in the format `format`, for example "png" or "jpeg".
    QByteArray file;
    QByteArray format;
};

/// Reads the images that a page embeds as `data:` URLs, for a `QTextDocument`, which would read
/// such images without limits. Use one object for each page.
///
/// PNG, JPEG, GIF, BMP and, if Qt has its reader, WebP are read, whatever type the URL claims. SVG
/// images are never read: Qt's SVG reader opens files that the image names.
///
/// All images of a page together are limited to 32 million pixels and in CPU time. The pixels of
/// formats other than PNG and JPEG count four times, because copying the page has to encode them
/// again. An image that is too large is skipped; smaller ones after it may still be read.
class PagePictures {
public:
    /// `time` is the CPU time that all images together may take to decode. It is extended by 150 ns
    /// for each byte of an image's file, by at most a second in all, because photographs of some
    /// megabytes cannot be decoded in the time that a page of text may take. A progressive JPEG is
    /// not decoded if the time is too short for its pixels alone.
    explicit PagePictures(std::chrono::nanoseconds time = {}) : _timeLeft(time) {}

    /// The image at `address`. Its `image` is null if `address` is not the `data:` URL of an image,
    /// or if the image is broken, has another format, or exceeds what is left of the page's limits.
    [[nodiscard]] PagePicture read(const QString &address);

private:
    qint64 _pixelsLeft = 32'000'000;
    std::chrono::nanoseconds _timeLeft;
    std::chrono::nanoseconds _timeForBytesLeft = std::chrono::seconds(1);
};

}  // namespace pelorinnews
