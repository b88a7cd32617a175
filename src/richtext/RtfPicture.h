#pragma once

#include <QByteArray>
#include <QSizeF>

namespace pelorinnews {

struct PagePicture;

/// `picture` as an RTF picture; empty if its image is null. `size` is the display size in CSS
/// pixels; a side of 0 or less is derived from the image. PNG and JPEG files are embedded
/// unchanged, other formats are converted to PNG.
[[nodiscard]] QByteArray rtfPicture(const PagePicture &picture, QSizeF size);

}  // namespace pelorinnews
