#pragma once

#include "PageList.h"

#include <vector>

class QTextDocument;

namespace pelorinnews {

/// Corrects what a text document renders differently from browsers. Call it right after the HTML
/// was set:
/// - A heading keeps the size that the page's style gives it; the document would enlarge it again.
/// - A picture's line is as high as the picture, whatever line height the text around it has.
/// - A link without its own colour gets the browsers' default. The document would use the desktop's
///   link colour, which may be meant for a dark background.
/// - A list has the usual space below it; `items` are the page's list items.
///
/// A text's size from a style and its size adjustment from an element (`FontSizeAdjustment`) are
/// combined into one size, so code that reads the formats need not know how the document combines
/// the two. Main thread only.
void repairHtmlDocument(QTextDocument &document, const std::vector<PageListItem> &items = {});

/// Scales pictures, and text with an explicit font size, to `percent` per cent. Other text follows
/// the document's default font and is not changed here. Main thread only.
void enlargeDocument(QTextDocument &document, int percent);

/// Shrinks pictures that are wider than `width` pixels, less the margins of their paragraph, and
/// keeps their proportions. Gives pictures that it has shrunk before their size again where there
/// is room. Call it after `enlargeDocument`. Main thread only.
void fitPictures(QTextDocument &document, double width);

}  // namespace pelorinnews
