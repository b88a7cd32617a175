#pragma once

#include <QByteArray>
#include <QTextCharFormat>

namespace pelorinnews {

class RtfHeader;

/// Whether a brush paints anything, so that its colour is worth writing.
[[nodiscard]] bool isVisible(const QBrush &brush);

/// The control words for text formatted as `format`, to be written in a group before the text;
/// empty for text that looks like the document's default. The result does not end with a delimiter.
[[nodiscard]] QByteArray rtfCharacterFormat(const QTextCharFormat &format, RtfHeader &header);

}  // namespace pelorinnews
