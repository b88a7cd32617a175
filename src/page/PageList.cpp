#include "PageList.h"

#include <algorithm>
#include <array>
#include <optional>

namespace pelorinnews {

namespace {

// Low enough that counting on from it does not overflow.
constexpr int maxNumber = 1'000'000'000;

std::optional<int> numberIn(const QString &text) {
    qsizetype end = 0;
    const QString trimmed = text.trimmed();
    while (end < trimmed.size() && end < 11 &&
           (trimmed[end].isDigit() || (end == 0 && trimmed[end] == QLatin1Char('-')) ||
            (end == 0 && trimmed[end] == QLatin1Char('+'))))
        ++end;
    bool ok = false;
    const qint64 number = trimmed.left(end).toLongLong(&ok);
    if (!ok)
        return std::nullopt;
    return static_cast<int>(std::clamp<qint64>(number, -maxNumber, maxNumber));
}

/// `type` is the attribute of a list or an item; `style` is its `list-style-type`, which takes
/// precedence.
ListMarker markerFrom(const QString &type, const QString &style, ListMarker otherwise) {
    struct Name {
        const char *name;
        ListMarker marker;
    };
    static constexpr std::array<Name, 15> names{{
        {"1", ListMarker::Decimal},
        {"a", ListMarker::LowerAlpha},
        {"A", ListMarker::UpperAlpha},
        {"i", ListMarker::LowerRoman},
        {"I", ListMarker::UpperRoman},
        {"none", ListMarker::None},
        {"disc", ListMarker::Disc},
        {"circle", ListMarker::Circle},
        {"square", ListMarker::Square},
        {"decimal", ListMarker::Decimal},
        {"lower-alpha", ListMarker::LowerAlpha},
        {"lower-latin", ListMarker::LowerAlpha},
        {"upper-alpha", ListMarker::UpperAlpha},
        {"upper-latin", ListMarker::UpperAlpha},
        {"lower-roman", ListMarker::LowerRoman},
    }};
    if (style == QStringLiteral("upper-roman"))
        return ListMarker::UpperRoman;
    for (const QString &asked : {style, type.size() > 1 ? type.toLower() : type}) {
        const auto found = std::find_if(names.begin(), names.end(), [&](const Name &each) {
            return asked == QLatin1String(each.name);
        });
        if (found != names.end())
            return found->marker;
    }
    return otherwise;
}

QString letters(int number) {
    QString text;
    for (; number > 0; number = (number - 1) / 26)
        text.prepend(QChar(u'a' + (number - 1) % 26));
    return text;
}

QString roman(int number) {
    struct Sign {
        int value;
        const char *text;
    };
    static constexpr std::array<Sign, 13> signs{{{1000, "m"},
                                                 {900, "cm"},
                                                 {500, "d"},
                                                 {400, "cd"},
                                                 {100, "c"},
                                                 {90, "xc"},
                                                 {50, "l"},
                                                 {40, "xl"},
                                                 {10, "x"},
                                                 {9, "ix"},
                                                 {5, "v"},
                                                 {4, "iv"},
                                                 {1, "i"}}};
    QString text;
    if (number > 3999)
        return text;
    for (const Sign &sign : signs) {
        for (; number >= sign.value; number -= sign.value)
            text += QLatin1String(sign.text);
    }
    return text;
}

}  // namespace

bool isNumbered(ListMarker marker) {
    return marker >= ListMarker::Decimal;
}

QString markerText(const PageListItem &item) {
    QString text;
    switch (item.marker) {
        case ListMarker::None:
            return {};
        case ListMarker::Disc:
            return QString(QChar(u'\u2022'));
        case ListMarker::Circle:
            return QString(QChar(u'\u25E6'));
        case ListMarker::Square:
            return QString(QChar(u'\u25AA'));
        case ListMarker::LowerAlpha:
            text = letters(item.number);
            break;
        case ListMarker::UpperAlpha:
            text = letters(item.number).toUpper();
            break;
        case ListMarker::LowerRoman:
            text = roman(item.number);
            break;
        case ListMarker::UpperRoman:
            text = roman(item.number).toUpper();
            break;
        case ListMarker::Decimal:
            break;
    }
    return (text.isEmpty() ? QString::number(item.number) : text) + QLatin1Char('.');
}

void PageLists::open(const QString &name, const HtmlAttributes &attributes, const QString &style) {
    List list;
    list.number = _lists++;
    const bool ordered = name == QStringLiteral("ol");
    list.marker = markerFrom(valueOf(attributes, QLatin1String("type")), style,
                             ordered ? ListMarker::Decimal : ListMarker::Disc);
    if (ordered) {
        list.reversed = !valueOf(attributes, QLatin1String("reversed")).isNull();
        const std::optional<int> start = numberIn(valueOf(attributes, QLatin1String("start")));
        list.startsAtCount = list.reversed && !start;
        list.next = start.value_or(list.startsAtCount ? 0 : 1);
    }
    _open.push_back(std::move(list));
}

int PageLists::addItem(const HtmlAttributes &attributes, const QString &style) {
    List &list = _open.back();
    PageListItem item;
    item.marker = markerFrom(valueOf(attributes, QLatin1String("type")), style, list.marker);
    if (const auto value = numberIn(valueOf(attributes, QLatin1String("value")))) {
        list.next = *value;
        list.startsAtCount = false;
    }
    item.number = list.next;
    item.list = list.number;
    item.depth = static_cast<int>(_open.size());
    item.reversed = list.reversed;
    list.next += list.reversed ? -1 : 1;
    ++list.count;
    if (list.startsAtCount)
        list.counted.push_back(_items.size());
    _items.push_back(item);
    return static_cast<int>(_items.size() - 1);
}

void PageLists::close() {
    const List &list = _open.back();
    for (const std::size_t item : list.counted)
        _items[item].number += list.count;
    _open.pop_back();
    if (_open.empty() && !_items.empty())
        _items.back().last = true;
}

std::vector<PageListItem> PageLists::takeItems() {
    while (isOpen())
        close();
    return std::move(_items);
}

}  // namespace pelorinnews
