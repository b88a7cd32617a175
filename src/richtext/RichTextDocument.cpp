#include "RichTextDocument.h"

#include "RtfHeader.h"

#include <QFont>

namespace pelorinnews {

RichTextDocument::RichTextDocument() {
    setUndoRedoEnabled(false);
    setDefaultFont(QFont(RtfHeader::defaultFontFamily(), RtfHeader::defaultFontHalfPoints / 2));
}

QVariant RichTextDocument::loadResource(int, const QUrl &) {
    return {};
}

}  // namespace pelorinnews
