#pragma once

#include "HtmlElements.h"

#include <QList>
#include <QString>
#include <QStringView>

namespace pelorinnews {

using HtmlAttributes = QList<std::pair<QString, QString>>;

/// The value of the attribute `name`; null if it is absent.
[[nodiscard]] QString valueOf(const HtmlAttributes &attributes, QLatin1String name);

/// One piece of a page's HTML: text between tags, a start tag or an end tag.
struct HtmlToken {
    enum class Kind { Text, StartTag, EndTag, End };

    Kind kind = Kind::End;
    /// For a tag, its name in lower case.
    QString name;
    /// For a start tag, the properties of that element; never null.
    const HtmlElement *element = nullptr;
    /// For a start tag, its attributes in the page's order; of several with the same name, only the
    /// first. Character references are not decoded.
    HtmlAttributes attributes;
    /// Undecoded text of the page, or the content of an element that has no child elements
    /// (`style`, `script`...).
    QStringView text;
};

/// Splits a page's HTML into tokens, in linear time. Comments and declarations become empty text; a
/// tag that is cut off by the end of the page is skipped.
class HtmlReader {
public:
    /// `html` must outlive the reader and its tokens.
    explicit HtmlReader(QStringView html) : _html(html) {}

    [[nodiscard]] HtmlToken next();

    /// The number of characters of the page that have been read.
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
