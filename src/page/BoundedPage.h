#pragma once

#include "PageList.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace pelorinnews {

/// A page in the form that a text document gets.
struct BoundedPage {
    QString html;
    /// The items of its lists. In the document an item is a plain block; the block's user state is
    /// its index here. (A document's own lists take quadratic time, and can count only from 1.)
    std::vector<PageListItem> items;
    /// The addresses (`data:`) of its pictures. In the document, `pictureName` gives a picture's
    /// name.
    QStringList pictures;
    /// The page is many windows long.
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
