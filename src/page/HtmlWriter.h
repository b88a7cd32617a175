#pragma once

#include "CssStyle.h"
#include "HtmlReader.h"
#include "HtmlTextWriter.h"

#include <QString>
#include <QStringView>

namespace pelorinnews {

class HtmlCost;
struct OpenElement;

/// Writes the tags and the text of a bounded page, adds their cost, and knows what is in the
/// document's current block. Attributes and styles are written as given: the caller bounds them.
class HtmlWriter {
public:
    /// `out` and `cost` must outlive this object.
    HtmlWriter(QString &out, HtmlCost &cost) : _out(out), _cost(cost), _text(out, cost) {}

    /// Writes nothing for an element without a written name. A `span` without attributes has no
    /// effect in the document: it is not written either, and its written name is cleared.
    void writeStart(OpenElement &element, HtmlAttributes attributes, const CssStyle &style);
    /// `element` must have a written name.
    void writeEnd(const OpenElement &element);
    void writeLineBreak();
    /// `text` is undecoded text of the page; `parent` is the element that contains it.
    void writeText(QStringView text, const OpenElement &parent);
    /// `addressLength` is the number of characters of the picture's URL in the page.
    void writePicture(OpenElement &element, HtmlAttributes attributes, const CssStyle &style,
                      qsizetype addressLength);

    /// The current block has fewer than 50 pictures.
    [[nodiscard]] bool hasRoomForPicture() const { return _picturesInBlock < maxPicturesInBlock; }
    /// A block has just ended: the document would put a picture that follows into that block.
    [[nodiscard]] bool isAfterBlock() const { return _afterBlock; }

private:
    static constexpr int maxPicturesInBlock = 50;

    void startBlock();

    QString &_out;
    HtmlCost &_cost;
    HtmlTextWriter _text;
    int _picturesInBlock = 0;
    bool _afterBlock = false;
    /// An element of the page has stated a direction.
    bool _directed = false;
};

}  // namespace pelorinnews
