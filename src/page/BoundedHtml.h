#pragma once

#include "BoundedPage.h"
#include "CssStyle.h"
#include "EmbeddedPictures.h"
#include "HtmlCost.h"
#include "HtmlReader.h"
#include "HtmlWriter.h"
#include "OpenElements.h"
#include "PageLooks.h"
#include "PageStyles.h"

#include <QString>
#include <QStringView>

#include <optional>

namespace pelorinnews {

/// Sanitizes a page for a text document, where a few kilobytes of hostile or careless HTML can use
/// the CPU for minutes. Keeps only what is known to be harmless: known elements, attributes and
/// styles whose values have a known form within bounds, and tables and nesting of limited depth.
/// Removes everything else, style sheets and lists included, but keeps its text.
///
/// Loading, layout and painting of the result, its images included, take at most about a quarter of
/// a second on the computer on which the rates of `HtmlCost` were measured. (Images of more than 64
/// KB may take longer, see `PagePictures`.) A page that would take longer (hundreds of thousands of
/// words, or hostile HTML) is truncated for display, and is not available for copying.
class BoundedHtml {
public:
    /// The whole page, for a document that is made for copying; absent if `html` is null or costs
    /// too much.
    static std::optional<BoundedPage> prepared(const QString &html);

    /// As much of the page, from its beginning, as a document can load and lay out in time. A
    /// truncated page ends with an ellipsis.
    static BoundedPage beginning(const QString &html);

private:
    BoundedHtml(const QString &html, HtmlCost::Purpose purpose);

    /// False if the page costs too much; the part written until then stays in the output.
    bool run();
    void read(const HtmlToken &token);
    void start(const HtmlToken &token);
    void startVoid(const HtmlToken &token, const CssStyle &style);
    void writeText(QStringView text);
    void writeRule(const HtmlAttributes &attributes);
    void writePicture(const HtmlAttributes &attributes, const CssStyle &style);

    HtmlReader _reader;
    BoundedPage _page;
    HtmlCost _cost;
    EmbeddedPictures _pictures;
    PageStyles _styles;
    PageLooks _looks;
    HtmlWriter _writer;
    OpenElements _elements;
};

}  // namespace pelorinnews
