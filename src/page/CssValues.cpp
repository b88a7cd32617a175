#include "CssValues.h"

#include "CssNesting.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace pelorinnews::CssValues {

namespace {

constexpr qsizetype maxParts = 16;
constexpr qsizetype maxColorLength = 40;
constexpr qsizetype maxFamilyLength = 120;
constexpr double pixelsPerEm = 16;
constexpr double pixelsPerPoint = 4.0 / 3;

struct Length {
    double number;
    QString unit;
};

std::optional<Length> lengthOf(const QString &value) {
    qsizetype end = 0;
    while (end < value.size() && end < 12 &&
           (value[end].isDigit() || value[end] == QLatin1Char('.') ||
            value[end] == QLatin1Char('-') || value[end] == QLatin1Char('+')))
        ++end;
    bool ok = false;
    const double number = value.left(end).toDouble(&ok);
    if (!ok || !std::isfinite(number))
        return std::nullopt;
    return Length{number, value.mid(end)};
}

std::optional<double> pixelsOf(const QString &value) {
    const std::optional<Length> length = lengthOf(value);
    if (!length)
        return std::nullopt;
    if (length->unit == QStringLiteral("px") || (length->unit.isEmpty() && length->number == 0))
        return length->number;
    if (length->unit == QStringLiteral("em") || length->unit == QStringLiteral("rem"))
        return length->number * pixelsPerEm;
    if (length->unit == QStringLiteral("pt"))
        return length->number * pixelsPerPoint;
    return std::nullopt;
}

bool isAsciiLetter(QChar c) {
    return c >= QLatin1Char('a') && c <= QLatin1Char('z');
}

bool isHexDigit(QChar c) {
    return (c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
           (c >= QLatin1Char('a') && c <= QLatin1Char('f'));
}

}  // namespace

QStringList parts(const QString &value) {
    QStringList parts;
    QString part;
    CssNesting nesting;
    for (const QChar c : value) {
        nesting.add(c);
        if (c.isSpace() && nesting.isOutside()) {
            if (!part.isEmpty())
                parts << part;
            part.clear();
            if (parts.size() == maxParts)
                return parts;
        } else {
            part += c;
        }
    }
    if (!part.isEmpty())
        parts << part;
    return parts;
}

QString color(const QString &value) {
    if (value.isEmpty() || value.size() > maxColorLength || value == QStringLiteral("inherit") ||
        value == QStringLiteral("initial"))
        return {};
    if (std::all_of(value.begin(), value.end(), isAsciiLetter))
        return value;
    if (value.startsWith(QLatin1Char('#')))
        return std::all_of(value.begin() + 1, value.end(), isHexDigit) &&
                       (value.size() == 4 || value.size() == 7 || value.size() == 9)
                   ? value
                   : QString();
    const qsizetype bracket = value.indexOf(QLatin1Char('('));
    const QString function = value.left(std::max<qsizetype>(bracket, 0));
    if (keyword(function, "rgb rgba hsl hsla").isEmpty() || !value.endsWith(QLatin1Char(')')))
        return {};
    const auto isPart = [](QChar c) {
        return c.isDigit() || c.isSpace() || c == QLatin1Char(',') || c == QLatin1Char('.') ||
               c == QLatin1Char('%');
    };
    return std::all_of(value.begin() + bracket + 1, value.end() - 1, isPart) ? value : QString();
}

QString pixels(const QString &value, int min, int max) {
    const std::optional<double> length = pixelsOf(value);
    if (!length)
        return {};
    return QString::number(std::lround(std::clamp<double>(*length, min, max))) +
           QStringLiteral("px");
}

QString fontSize(const QString &value) {
    const QString name = keyword(value, "xx-small x-small small medium large x-large xx-large");
    if (!name.isEmpty())
        return name;
    const std::optional<Length> length = lengthOf(value);
    if (!length || !(length->number > 0))
        return {};
    if (length->unit == QStringLiteral("px"))
        return QString::number(std::lround(std::clamp(length->number, 1.0, 128.0))) + length->unit;
    if (length->unit == QStringLiteral("pt"))
        return QString::number(std::round(std::clamp(length->number, 1.0, 96.0) * 2) / 2) +
               length->unit;
    return {};
}

QString fontWeight(const QString &value) {
    return keyword(value, "normal bold bolder lighter 100 200 300 400 500 600 700 800 900");
}

QString fontFamily(const QString &value) {
    QString family = value.left(maxFamilyLength);
    family.replace(QLatin1Char('"'), QLatin1Char('\''));
    // Drop every character that could end the CSS value or the HTML attribute. No font name needs
    // these characters.
    family.removeIf([](QChar c) {
        return !c.isLetterOrNumber() && !c.isSpace() && c != QLatin1Char(',') &&
               c != QLatin1Char('-') && c != QLatin1Char('_') && c != QLatin1Char('.') &&
               c != QLatin1Char('\'');
    });
    if (family.count(QLatin1Char('\'')) % 2 != 0)
        family.remove(QLatin1Char('\''));
    return family.trimmed();
}

QString lineHeight(const QString &value) {
    const std::optional<Length> length = lengthOf(value);
    if (!length)
        return {};
    const bool percent = length->unit == QStringLiteral("%");
    if (percent || length->unit.isEmpty())
        return QString::number(std::lround(
                   std::clamp(percent ? length->number : length->number * 100, 50.0, 400.0))) +
               QLatin1Char('%');
    return pixels(value, 4, 200);
}

QString border(const QString &value) {
    static constexpr auto styles =
        "none hidden dotted dashed solid double groove ridge inset outset";
    QStringList kept;
    for (const QString &part : parts(value).mid(0, 4)) {
        for (const QString &each : {pixels(part, 0, 20), keyword(part, styles), color(part)}) {
            if (each.isEmpty())
                continue;
            kept << each;
            break;
        }
    }
    return kept.join(QLatin1Char(' '));
}

QString keyword(const QString &value, const char *allowed) {
    if (value.isEmpty() || value.size() > 32 || value.contains(QLatin1Char(' ')))
        return {};
    const QString all = QLatin1Char(' ') + QLatin1String(allowed) + QLatin1Char(' ');
    return all.contains(QLatin1Char(' ') + value + QLatin1Char(' ')) ? value : QString();
}

QString keywordAmong(const QString &value, const char *allowed) {
    for (const QString &part : parts(value)) {
        if (const QString found = keyword(part, allowed); !found.isEmpty())
            return found;
    }
    return {};
}

}  // namespace pelorinnews::CssValues
