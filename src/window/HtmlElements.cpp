#include "HtmlElements.h"

#include <QSet>

namespace pelorinnews::HtmlElements {

namespace {

bool isRowGroup(const QString &name) {
    return name == QStringLiteral("tbody") || name == QStringLiteral("thead") ||
           name == QStringLiteral("tfoot");
}

bool isDefinition(const QString &name) {
    return name == QStringLiteral("dt") || name == QStringLiteral("dd");
}

}  // namespace

bool isDropped(const QString &name) {
    static const QSet<QString> names{
        QStringLiteral("script"),   QStringLiteral("iframe"), QStringLiteral("noframes"),
        QStringLiteral("noembed"),  QStringLiteral("title"),  QStringLiteral("template"),
        QStringLiteral("textarea"), QStringLiteral("select"), QStringLiteral("audio"),
        QStringLiteral("video"),    QStringLiteral("svg"),    QStringLiteral("math"),
        QStringLiteral("canvas")};
    return names.contains(name);
}

bool isVoid(const QString &name) {
    static const QSet<QString> names{
        QStringLiteral("area"),  QStringLiteral("base"),   QStringLiteral("basefont"),
        QStringLiteral("br"),    QStringLiteral("col"),    QStringLiteral("embed"),
        QStringLiteral("frame"), QStringLiteral("hr"),     QStringLiteral("img"),
        QStringLiteral("input"), QStringLiteral("keygen"), QStringLiteral("link"),
        QStringLiteral("meta"),  QStringLiteral("param"),  QStringLiteral("source"),
        QStringLiteral("track"), QStringLiteral("wbr")};
    return names.contains(name);
}

bool isShownVoid(const QString &name) {
    return name == QStringLiteral("br") || name == QStringLiteral("hr") ||
           name == QStringLiteral("img");
}

bool isCell(const QString &name) {
    return name == QStringLiteral("td") || name == QStringLiteral("th");
}

bool isBlock(const QString &name) {
    static const QSet<QString> names{
        QStringLiteral("address"),    QStringLiteral("article"), QStringLiteral("aside"),
        QStringLiteral("blockquote"), QStringLiteral("center"),  QStringLiteral("dd"),
        QStringLiteral("div"),        QStringLiteral("dl"),      QStringLiteral("dt"),
        QStringLiteral("fieldset"),   QStringLiteral("figure"),  QStringLiteral("footer"),
        QStringLiteral("form"),       QStringLiteral("h1"),      QStringLiteral("h2"),
        QStringLiteral("h3"),         QStringLiteral("h4"),      QStringLiteral("h5"),
        QStringLiteral("h6"),         QStringLiteral("header"),  QStringLiteral("hr"),
        QStringLiteral("li"),         QStringLiteral("main"),    QStringLiteral("nav"),
        QStringLiteral("ol"),         QStringLiteral("p"),       QStringLiteral("pre"),
        QStringLiteral("section"),    QStringLiteral("table"),   QStringLiteral("td"),
        QStringLiteral("th"),         QStringLiteral("tr"),      QStringLiteral("ul")};
    return names.contains(name);
}

bool isImpliedEnd(const QString &open, const QString &next) {
    if (open == QStringLiteral("p"))
        return isBlock(next);
    if (open == QStringLiteral("li"))
        return next == open;
    if (isDefinition(open))
        return isDefinition(next);
    if (isCell(open))
        return isCell(next) || next == QStringLiteral("tr") || isRowGroup(next);
    if (open == QStringLiteral("tr"))
        return next == open || isRowGroup(next);
    return isRowGroup(open) && isRowGroup(next);
}

}  // namespace pelorinnews::HtmlElements
