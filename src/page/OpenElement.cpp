#include "OpenElement.h"

namespace pelorinnews {

namespace {

// In pixels: limit for the sum of all margins, lists and quotations around a line.
constexpr int maxIndent = 240;
constexpr int indentOfList = 40;

int pixelsIn(const CssStyle &style, const char *property) {
    const QString value = style.value(property);
    return value.left(value.size() - 2).toInt();
}

}  // namespace

OpenElement OpenElement::child(const QString &childName) const {
    OpenElement element = *this;
    element.name = childName;
    element.kind = &HtmlElement::named(childName);
    element.written.clear();
    element.role = Role::Plain;
    element.item = -1;
    return element;
}

bool OpenElement::isBlock() const {
    return !written.isEmpty() && (kind->isBlock || isPlain());
}

bool OpenElement::isPlain() const {
    return written == QStringLiteral("div") || written == QStringLiteral("td");
}

void OpenElement::makePlain() {
    written = isBlock() ? QStringLiteral("div") : QString();
}

void OpenElement::takeIndent(CssStyle &style) {
    const bool block = isBlock() && role != Role::Cell;
    int own = pixelsIn(style, "margin-left") + pixelsIn(style, "margin-right");
    if (!block || indent + own > maxIndent) {
        style.remove("margin-left");
        style.remove("margin-right");
        own = 0;
    }
    if (!block) {
        for (const char *property : {"margin-top", "margin-bottom", "text-indent"})
            style.remove(property);
        return;
    }
    if (role == Role::List || written == QStringLiteral("dd"))
        own += indentOfList;
    else if (written == QStringLiteral("blockquote"))
        own += 2 * indentOfList;
    if (indent + own <= maxIndent)
        indent += own;
    else
        written = QStringLiteral("div");
}

void OpenElement::takeDirection(const HtmlAttributes &attributes, const CssStyle &style) {
    const QString inStyle = style.value("direction");
    const QString stated =
        inStyle.isEmpty() ? valueOf(attributes, QLatin1String("dir")).trimmed().toLower() : inStyle;
    if (stated == QStringLiteral("ltr") || stated == QStringLiteral("rtl"))
        direction = stated;
}

void OpenElement::takeWhiteSpace(const CssStyle &style) {
    preserved = preserved || name == QStringLiteral("pre");
    if (const QString space = style.value("white-space"); !space.isEmpty())
        preserved = space.startsWith(QStringLiteral("pre"));
}

}  // namespace pelorinnews
