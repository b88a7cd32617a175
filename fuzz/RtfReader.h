#pragma once

#include <QByteArrayView>
#include <QString>

namespace pelorinnews::test {

/// What a reader of RTF finds in a file.
struct RtfReading {
    /// The text, markers of list items included. Paragraphs and table cells end with a line feed,
    /// `\line` is U+2028, and each picture is U+FFFC.
    QString text;
    /// What is wrong with the file; null if nothing is.
    const char *error = nullptr;
};

/// Reads as much of RTF as our writer uses. Independent of the writer: shares no code with it.
///
/// It is an error if groups are not balanced, if a byte is not ASCII, or if a table row has another
/// number of cells than its definition, or cells without width: word processors lose the text of
/// such cells.
[[nodiscard]] RtfReading readRtf(QByteArrayView rtf);

}  // namespace pelorinnews::test
