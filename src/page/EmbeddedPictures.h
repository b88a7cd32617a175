#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <utility>

namespace pelorinnews {

/// Collects the pictures that a page embeds in its own text (`data:` addresses), and gives each the
/// name under which the text document asks for it. The page may use its pictures 1000 times in all.
class EmbeddedPictures {
public:
    /// The document's name for the picture at `address`, made by `BoundedPage::pictureName`. Equal
    /// addresses get the same name. Null if the picture is not embedded in the page or if the limit
    /// is reached.
    [[nodiscard]] QString nameOf(const QString &address);

    /// The addresses of all named pictures, in the order of their names.
    [[nodiscard]] QStringList takeAddresses() { return std::move(_addresses); }

private:
    QStringList _addresses;
    QHash<QString, qsizetype> _indexes;
    int _uses = 0;
};

}  // namespace pelorinnews
