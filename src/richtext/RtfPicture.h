#pragma once

#include <QByteArray>
#include <QSizeF>

namespace pelorinnews {

struct PagePicture;

/// `picture` as an RTF picture; empty if its image is null. `size` is how large it is to be shown,
/// in CSS pixels; a side of 0 or less follows from the picture. PNG and JPEG go as they are, other
/// kinds as PNG.
[[nodiscard]] QByteArray rtfPicture(const PagePicture &picture, QSizeF size);

}  // namespace pelorinnews
