#include "CssStyle.h"

#include "CssNesting.h"
#include "CssValues.h"

#include <array>

namespace pelorinnews {

using namespace CssValues;

namespace {

constexpr int maxDeclarations = 64;
constexpr qsizetype maxValueLength = 512;
constexpr auto listStyles =
    "none disc circle square decimal lower-alpha upper-alpha lower-latin upper-latin lower-roman "
    "upper-roman";

struct Keywords {
    const char *property;
    const char *allowed;
};

constexpr std::array<Keywords, 12> keywords{{
    {"border-collapse", "collapse separate"},
    {"direction", "ltr rtl"},
    {"display", "none block inline inline-block list-item table table-row table-cell flex"},
    {"float", "left right none"},
    {"font-style", "normal italic oblique"},
    {"font-variant", "normal small-caps"},
    {"list-style", listStyles},
    {"list-style-type", listStyles},
    {"text-align", "left right center justify"},
    {"text-transform", "none uppercase lowercase capitalize"},
    {"vertical-align", "baseline sub super middle top bottom"},
    {"white-space", "normal pre nowrap pre-wrap"},
}};

struct Lengths {
    const char *property;
    int min;
    int max;
};

constexpr std::array<Lengths, 9> lengths{{
    {"margin-top", 0, 100},
    {"margin-right", 0, 200},
    {"margin-bottom", 0, 100},
    {"margin-left", 0, 200},
    {"padding-top", 0, 50},
    {"padding-right", 0, 50},
    {"padding-bottom", 0, 50},
    {"padding-left", 0, 50},
    {"text-indent", -200, 200},
}};

constexpr std::array<const char *, 5> fontProperties{"font-family", "font-size", "font-style",
                                                     "font-variant", "font-weight"};

/// The index of the semicolon that ends the declaration starting at `from`, or the end of `text` if
/// there is none. A semicolon in quotes or parentheses does not count.
qsizetype endOfDeclaration(QStringView text, qsizetype from) {
    CssNesting nesting;
    for (qsizetype at = from; at < text.size(); ++at) {
        nesting.add(text[at]);
        if (text[at] == QLatin1Char(';') && nesting.isOutside())
            return at;
    }
    return text.size();
}

/// Removes the first `url(…)` from `value` and returns its URL; empty if there is none.
QString takeAddress(QString &value) {
    const QString open = QStringLiteral("url(");
    const qsizetype start = value.indexOf(open, 0, Qt::CaseInsensitive);
    const qsizetype end = start < 0 ? start : value.indexOf(QLatin1Char(')'), start);
    if (end < 0)
        return {};
    QString address = value.sliced(start + open.size(), end - start - open.size()).trimmed();
    value.remove(start, end - start + 1);
    const bool isQuoted =
        address.size() >= 2 && address.front() == address.back() &&
        (address.front() == QLatin1Char('"') || address.front() == QLatin1Char('\''));
    return isQuoted ? address.sliced(1, address.size() - 2) : address;
}

QString checked(const QString &property, const QString &value) {
    for (const Keywords &each : keywords) {
        if (property == QLatin1String(each.property))
            return keywordAmong(value, each.allowed);
    }
    for (const Lengths &each : lengths) {
        if (property == QLatin1String(each.property))
            return pixels(value, each.min, each.max);
    }
    if (property == QStringLiteral("color") || property == QStringLiteral("background-color"))
        return color(value);
    if (property == QStringLiteral("font-size"))
        return fontSize(value);
    if (property == QStringLiteral("font-weight"))
        return fontWeight(value);
    if (property == QStringLiteral("line-height"))
        return lineHeight(value);
    if (property.startsWith(QStringLiteral("border")))
        return keyword(property,
                       "border border-top border-right border-bottom border-left border-width "
                       "border-style border-color")
                       .isEmpty()
                   ? QString()
                   : border(value);
    if (property == QStringLiteral("text-decoration"))
        return keywordAmong(value, "none underline overline line-through");
    return {};
}

}  // namespace

CssStyle CssStyle::of(QStringView text, const PictureNames &pictures) {
    CssStyle style;
    qsizetype at = 0;
    for (int count = 0; count < maxDeclarations && at < text.size(); ++count) {
        const qsizetype end = endOfDeclaration(text, at);
        const QStringView declaration = text.sliced(at, end - at);
        at = end + 1;
        const qsizetype colon = declaration.indexOf(QLatin1Char(':'));
        if (colon < 0)
            continue;
        const QString property = declaration.first(colon).trimmed().toString().toLower();
        QString value = declaration.sliced(colon + 1).toString();
        if (property.startsWith(QStringLiteral("background"))) {
            const QString name = pictures(takeAddress(value));
            if (!name.isNull())
                style.put(QStringLiteral("background-image"),
                          QStringLiteral("url(") + name + QLatin1Char(')'), false);
        }
        if (value.size() > maxValueLength)
            continue;
        value = value.simplified();
        const qsizetype mark = value.indexOf(QLatin1Char('!'));
        const bool important =
            mark >= 0 && value.mid(mark).contains(QStringLiteral("important"), Qt::CaseInsensitive);
        if (mark >= 0)
            value = value.left(mark).trimmed();
        style.declare(property, value, important);
    }
    return style;
}

void CssStyle::declare(const QString &property, const QString &value, bool important) {
    const QString small = value.toLower();
    if (property == QStringLiteral("font-family"))
        put(property, fontFamily(value), important);
    else if (property == QStringLiteral("font"))
        declareFont(value, important);
    else if (property == QStringLiteral("margin") || property == QStringLiteral("padding"))
        declareSides(property, small, important);
    else if (property == QStringLiteral("background")) {
        for (const QString &part : parts(small))
            put(QStringLiteral("background-color"), color(part), important);
    } else if (property == QStringLiteral("list-style"))
        put(QStringLiteral("list-style-type"), checked(property, small), important);
    else
        put(property, checked(property, small), important);
}

void CssStyle::declareSides(const QString &property, const QString &value, bool important) {
    const QStringList sides = parts(value);
    if (sides.isEmpty() || sides.size() > 4)
        return;
    const QString &top = sides.at(0);
    const QString &right = sides.size() > 1 ? sides.at(1) : top;
    const QString &bottom = sides.size() > 2 ? sides.at(2) : top;
    const QString &left = sides.size() > 3 ? sides.at(3) : right;
    declare(property + QStringLiteral("-top"), top, important);
    declare(property + QStringLiteral("-right"), right, important);
    declare(property + QStringLiteral("-bottom"), bottom, important);
    declare(property + QStringLiteral("-left"), left, important);
}

void CssStyle::declareFont(const QString &value, bool important) {
    const QStringList all = parts(value);
    for (qsizetype i = 0; i < all.size(); ++i) {
        const QString part = all.at(i).toLower();
        const QString size = fontSize(part.section(QLatin1Char('/'), 0, 0));
        if (size.isEmpty()) {
            put(QStringLiteral("font-style"), keyword(part, "italic oblique"), important);
            put(QStringLiteral("font-weight"), keyword(part, "bold bolder 600 700 800 900"),
                important);
            continue;
        }
        put(QStringLiteral("font-size"), size, important);
        put(QStringLiteral("line-height"), lineHeight(part.section(QLatin1Char('/'), 1)),
            important);
        put(QStringLiteral("font-family"), fontFamily(all.mid(i + 1).join(QLatin1Char(' '))),
            important);
        return;
    }
}

void CssStyle::put(const QString &property, const QString &value, bool important) {
    if (value.isEmpty())
        return;
    const auto known = _values.constFind(property);
    if (known != _values.constEnd() && known->important && !important)
        return;
    _values.insert(property, {value, important});
}

void CssStyle::overlay(const CssStyle &other) {
    for (auto each = other._values.begin(); each != other._values.end(); ++each)
        put(each.key(), each->text, each->important);
}

QString CssStyle::value(const char *property) const {
    return _values.isEmpty() ? QString() : _values.value(QLatin1String(property)).text;
}

void CssStyle::set(const char *property, const QString &value) {
    _values.insert(QLatin1String(property), {value, true});
}

void CssStyle::remove(const char *property) {
    if (!_values.isEmpty())
        _values.remove(QLatin1String(property));
}

void CssStyle::removeFont() {
    for (const char *property : fontProperties)
        remove(property);
}

QString CssStyle::fontText() const {
    QString text;
    if (isEmpty())
        return text;
    for (const char *property : fontProperties) {
        const QString each = value(property);
        if (!each.isEmpty())
            text += QLatin1String(property) + QLatin1Char(':') + each + QLatin1Char(';');
    }
    return text;
}

QString CssStyle::text() const {
    QString text;
    for (auto each = _values.begin(); each != _values.end(); ++each) {
        if (!text.isEmpty())
            text += QLatin1Char(';');
        text += each.key() + QLatin1Char(':') + each->text;
    }
    return text;
}

}  // namespace pelorinnews
