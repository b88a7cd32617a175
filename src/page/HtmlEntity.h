#pragma once

#include <QString>
#include <QStringView>

namespace pelorinnews {

/// A character reference (`&#8203;`, `&amp;`, `&eacute;`).
struct HtmlEntity {
    /// How much of the page's text it is; 1 where the sign stands for itself.
    qsizetype length = 1;
    /// The character of a number, or of a name that the signs of HTML itself have.
    QString text;
    /// It has the form of a name, of which a text document knows what it stands for.
    bool isNamed = false;

    [[nodiscard]] bool isKnown() const { return !text.isEmpty(); }

    /// The one that `html`, which begins with "&", begins with.
    static HtmlEntity at(QStringView html);
};

}  // namespace pelorinnews
