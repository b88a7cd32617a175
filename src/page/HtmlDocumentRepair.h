#pragma once

#include "PageList.h"

#include <vector>

class QTextDocument;

namespace pelorinnews {

/// Corrects what a text document makes of a page otherwise than browsers do, right after its HTML
/// was set:
/// - A heading keeps the size that the page's style gives it; the document enlarges it once more.
/// - A picture's line is as high as the picture, whatever line height the text around it has.
/// - A link without a colour of its own has the one that browsers give it. The document's is the
///   desktop's, which may be meant for a dark ground.
/// - Below a list is the space that belongs there; `items` are those of the page's lists.
///
/// Sizes that text has from a style and from its element are one size afterwards, so whoever reads
/// the formats need not know how the document combines the two. Main thread only.
void repairHtmlDocument(QTextDocument &document, const std::vector<PageListItem> &items = {});

}  // namespace pelorinnews
