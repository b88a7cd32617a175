#include "HtmlNode.h"

#include "HtmlReader.h"

namespace pelorinnews {

namespace {

constexpr qsizetype maxClasses = 8;
constexpr qsizetype maxClassesLength = 512;
constexpr qsizetype maxIdLength = 64;

QStringList classesIn(const QString &value) {
    if (value.isEmpty())
        return {};
    return value.left(maxClassesLength)
        .simplified()
        .split(QLatin1Char(' '), Qt::SkipEmptyParts)
        .mid(0, maxClasses);
}

}  // namespace

HtmlNode HtmlNode::of(const HtmlToken &tag) {
    return {tag.name, valueOf(tag.attributes, QLatin1String("id")).left(maxIdLength),
            classesIn(valueOf(tag.attributes, QLatin1String("class")))};
}

}  // namespace pelorinnews
