#pragma once

#include <QByteArray>
#include <QSizeF>

namespace pelorinnews {

/// `data`, the bytes of a picture file, as an RTF picture. `size` is how large it is to be shown,
/// in CSS pixels; a side of 0 or less follows from the picture. PNG and JPEG go as they are, other
/// kinds as PNG. Empty if `data` is no picture that can be read, or one of more than 32 million
/// pixels.
[[nodiscard]] QByteArray rtfPicture(const QByteArray &data, QSizeF size);

}  // namespace pelorinnews
