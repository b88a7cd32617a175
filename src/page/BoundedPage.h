#pragma once

#include "PageList.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace pelorinnews {

/// A page as a text document is given it.
struct BoundedPage {
    QString html;
    /// The items of its lists. In the document an item is a plain block; the block's user state is
    /// its index here. (A document's own lists cost the square of their length, and cannot count
    /// from anything but 1.)
    std::vector<PageListItem> items;
    /// The addresses (`data:`) of its pictures. In the document a picture's name is the one of
    /// `pictureName`.
    QStringList pictures;
    /// It is many windows long.
    bool isLong = false;

    [[nodiscard]] static QString pictureName(qsizetype index) {
        return QStringLiteral("picture-") + QString::number(index);
    }

    /// The address of the picture with that name; empty for any other name.
    [[nodiscard]] QString pictureAddress(const QString &name) const {
        const QString start = QStringLiteral("picture-");
        bool ok = false;
        const qsizetype index =
            name.startsWith(start) ? name.mid(start.size()).toInt(&ok) : qsizetype{-1};
        return ok && index >= 0 && index < pictures.size() ? pictures.at(index) : QString();
    }
};

}  // namespace pelorinnews
