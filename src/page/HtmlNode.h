#pragma once

#include <QString>
#include <QStringList>

namespace pelorinnews {

struct HtmlToken;

/// The parts of an element that selectors match.
struct HtmlNode {
    QString name;
    QString id;
    QStringList classes;

    /// The node of a start tag, with at most 8 classes.
    static HtmlNode of(const HtmlToken &tag);
};

}  // namespace pelorinnews
