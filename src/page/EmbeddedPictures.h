#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <utility>

namespace pelorinnews {

/// Collects the pictures that a page contains as `data:` URLs, and gives each the name under which
/// the text document requests it. Limits a page to 1000 uses of pictures; each use of the same
/// picture counts.
class EmbeddedPictures {
public:
    /// The name, made by `BoundedPage::pictureName`, under which the document requests the picture
    /// with the URL `address`. Equal URLs get the same name. Null if `address` is not the `data:`
    /// URL of an image, or if the limit is reached.
    [[nodiscard]] QString nameOf(const QString &address);

    /// The URLs of all named pictures, in the order of their names.
    [[nodiscard]] QStringList takeAddresses() { return std::move(_addresses); }

private:
    QStringList _addresses;
    QHash<QString, qsizetype> _indexes;
    int _uses = 0;
};

}  // namespace pelorinnews
