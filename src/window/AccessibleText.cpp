#include "AccessibleText.h"

#include <QRect>

namespace pelorinnews {

void AccessibleText::selection(int, int *startOffset, int *endOffset) const {
    *startOffset = 0;
    *endOffset = 0;
}

QString AccessibleText::text(int startOffset, int endOffset) const {
    const QString whole = wholeText();
    const int end = endOffset < 0 ? static_cast<int>(whole.size()) : endOffset;
    return whole.mid(startOffset, end - startOffset);
}

int AccessibleText::characterCount() const {
    return static_cast<int>(wholeText().size());
}

QString AccessibleText::attributes(int, int *startOffset, int *endOffset) const {
    *startOffset = 0;
    *endOffset = characterCount();
    return {};
}

}  // namespace pelorinnews
