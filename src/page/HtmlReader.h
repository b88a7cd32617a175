#pragma once

#include "HtmlElements.h"

#include <QList>
#include <QString>
#include <QStringView>

namespace pelorinnews {

using HtmlAttributes = QList<std::pair<QString, QString>>;

/// The value of the attribute `name`; null where it is absent.
[[nodiscard]] QString valueOf(const HtmlAttributes &attributes, QLatin1String name);

/// One piece of a page's HTML: text between tags, a start tag or an end tag.
struct HtmlToken {
    enum class Kind { Text, StartTag, EndTag, End };

    Kind kind = Kind::End;
    /// Of a tag, in small letters.
    QString name;
    /// Of a start tag, what that name means; never null.
    const HtmlElement *element = nullptr;
    /// Of a start tag, in the page's order; of the same name twice, the first counts. Entities are
    /// as they stand in the page.
    HtmlAttributes attributes;
    /// Text as it stands in the page, or the content of an element that has no elements in it
    /// (`style`, `script`...).
    QStringView text;
};

/// Takes a page's HTML apart, in time that grows with its length alone. Comments and declarations
/// come as empty text; a tag that the page's end cuts off is passed over.
class HtmlReader {
public:
    /// `html` outlives the reader and what it gives.
    explicit HtmlReader(QStringView html) : _html(html) {}

    [[nodiscard]] HtmlToken next();

    /// How much of the page has been read.
    [[nodiscard]] qsizetype position() const { return _position; }

private:
    [[nodiscard]] HtmlToken readText();
    [[nodiscard]] HtmlToken readEndTag();
    [[nodiscard]] HtmlToken readStartTag();
    [[nodiscard]] HtmlAttributes readAttributes();
    [[nodiscard]] QString readName();
    [[nodiscard]] QString readWord();
    [[nodiscard]] QStringView readRawText(const QString &name);
    void skipComment();
    void skipAttributes();
    void skipSpace();
    void skipPast(QStringView end);

    QStringView _html;
    qsizetype _position = 0;
};

}  // namespace pelorinnews
