#include "HtmlEntity.h"

#include <algorithm>
#include <array>

namespace pelorinnews {

namespace {

constexpr qsizetype maxNameLength = 31;

QString characterOf(QStringView number) {
    const bool hex = number.startsWith(QLatin1Char('x'), Qt::CaseInsensitive);
    bool ok = false;
    const uint code = (hex ? number.sliced(1) : number).toUInt(&ok, hex ? 16 : 10);
    const bool character = ok && code != 0 && code <= QChar::LastValidCodePoint &&
                           !QChar::isSurrogate(static_cast<char32_t>(code));
    const char32_t value = character ? code : char32_t{QChar::ReplacementCharacter};
    return QString::fromUcs4(&value, 1);
}

QString signOf(QStringView name) {
    struct Sign {
        const char *name;
        char16_t sign;
    };
    static constexpr std::array<Sign, 5> signs{
        {{"amp", u'&'}, {"lt", u'<'}, {"gt", u'>'}, {"quot", u'"'}, {"apos", u'\''}}};
    const auto found = std::find_if(signs.begin(), signs.end(), [&](const Sign &each) {
        return name == QLatin1String(each.name);
    });
    return found == signs.end() ? QString() : QString(QChar(found->sign));
}

}  // namespace

HtmlEntity HtmlEntity::at(QStringView html) {
    HtmlEntity entity;
    const bool number = html.size() > 2 && html[1] == QLatin1Char('#');
    const qsizetype start = number ? 2 : 1;
    qsizetype end = start;
    while (end < html.size() && end - start < maxNameLength && html[end].unicode() < 0x80 &&
           html[end].isLetterOrNumber())
        ++end;
    const QStringView name = html.sliced(start, end - start);
    if (name.isEmpty())
        return entity;
    const bool closed = end < html.size() && html[end] == QLatin1Char(';');
    if (number) {
        entity.text = characterOf(name);
    } else {
        entity.text = signOf(name);
        entity.isNamed = true;
        // A name without a semicolon is not a reference here: it may be part of a URL's query, as
        // in "?a=1&copy=2".
        if (!closed)
            return {};
    }
    entity.length = end + (closed ? 1 : 0);
    return entity;
}

}  // namespace pelorinnews
