#pragma once

#include "PageList.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <vector>

namespace pelorinnews {

/// A page, rewritten for a `QTextDocument` (see `BoundedHtml`).
struct BoundedPage {
    QString html;
    /// The items of the page's lists. In the document, each item is a plain block whose user state
    /// is the item's index here. (The lists of a `QTextDocument` take quadratic time, and can count
    /// only from 1.)
    std::vector<PageListItem> items;
    /// The `data:` URLs of the page's images. In the document, each image has the name that
    /// `pictureName` gives.
    QStringList pictures;
    /// CPU time to give to `PagePictures` for decoding the images: the time limit minus what the
    /// rest of the page costs (see `HtmlCost`).
    std::chrono::nanoseconds pictureTime{};
    /// Whether the page is so long that no window shows all of it without scrolling.
    bool isLong = false;

    [[nodiscard]] static QString pictureName(qsizetype index) {
        return QStringLiteral("picture-") + QString::number(index);
    }

    /// The `data:` URL of the image with the name `name`; empty if there is none.
    [[nodiscard]] QString pictureAddress(const QString &name) const {
        const QString start = QStringLiteral("picture-");
        bool ok = false;
        const qsizetype index =
            name.startsWith(start) ? name.mid(start.size()).toInt(&ok) : qsizetype{-1};
        return ok && index >= 0 && index < pictures.size() ? pictures.at(index) : QString();
    }
};

}  // namespace pelorinnews
