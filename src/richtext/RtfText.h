#pragma once

#include <QByteArray>
#include <QStringView>

namespace pelorinnews {

/// The number of twips in one CSS pixel. A twip, RTF's unit of length, is a twentieth of a point.
inline constexpr int twipsPerPixel = 15;

/// Appends `text` to `out` as RTF text: ASCII unchanged, `{`, `}` and `\` escaped, everything else
/// as `\uN?` with a signed 16-bit number (a surrogate pair as two of them), and tabs, line breaks,
/// soft hyphens, non-breaking hyphens and non-breaking spaces as their control words. A lone
/// surrogate becomes U+FFFD; control characters and noncharacters are dropped.
void appendRtfText(QByteArray &out, QStringView text);

/// Appends the control word `word` with the number `value`.
void appendRtfWord(QByteArray &out, const char *word, int value);

}  // namespace pelorinnews
