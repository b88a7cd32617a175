#pragma once

#include <QString>
#include <QStringView>

namespace pelorinnews {

/// A character reference (`&#8203;`, `&amp;`, `&eacute;`).
struct HtmlEntity {
    /// Length of the reference in the page's text; 1 if the "&" stands for itself.
    qsizetype length = 1;
    /// The character, if the reference is numeric or names one of the five characters &, <, >,
    /// quote and apostrophe; otherwise empty.
    QString text;
    /// The reference is a name. If `text` is empty, `QTextDocument` resolves the name.
    bool isNamed = false;

    [[nodiscard]] bool isKnown() const { return !text.isEmpty(); }

    /// The reference at the beginning of `html`, which begins with "&".
    static HtmlEntity at(QStringView html);
};

}  // namespace pelorinnews
