#pragma once

#include <QString>
#include <QStringView>

namespace pelorinnews {

/// A character reference (`&#8203;`, `&amp;`, `&eacute;`).
struct HtmlEntity {
    /// Its length in the page's text; 1 if the "&" stands for itself.
    qsizetype length = 1;
    /// The character, for a numeric reference or for the name of one of HTML's own five characters;
    /// otherwise empty.
    QString text;
    /// It has the form of a name, which the text document resolves.
    bool isNamed = false;

    [[nodiscard]] bool isKnown() const { return !text.isEmpty(); }

    /// The reference at the beginning of `html`, which begins with "&".
    static HtmlEntity at(QStringView html);
};

}  // namespace pelorinnews
