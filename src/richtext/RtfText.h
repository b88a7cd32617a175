#pragma once

#include <QByteArray>
#include <QStringView>

namespace pelorinnews {

/// Twentieths of a point, RTF's unit of length, in one CSS pixel.
inline constexpr int twipsPerPixel = 15;

/// Appends `text` to `out` as RTF text: ASCII unchanged, `{`, `}` and `\` escaped, everything else
/// as `\uN?` with a signed 16-bit number (a surrogate pair is two of them), tabs, line breaks,
/// non-breaking spaces and hyphens and soft hyphens as their control words. A lone surrogate
/// becomes U+FFFD; control characters and noncharacters are dropped.
void appendRtfText(QByteArray &out, QStringView text);

/// Appends the control word `word` with the number `value`.
void appendRtfWord(QByteArray &out, const char *word, int value);

}  // namespace pelorinnews
