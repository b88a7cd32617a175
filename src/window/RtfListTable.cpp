#include "RtfListTable.h"

#include "RtfText.h"

#include <QTextBlock>

#include <algorithm>

namespace pelorinnews {

namespace {

// The most that common word processors keep of a document.
constexpr std::size_t mostLists = 2000;
constexpr int deepestLevel = 8;
constexpr int twipsPerIndent = 40 * twipsPerPixel;

bool isBullet(QTextListFormat::Style style) {
    return style == QTextListFormat::ListDisc || style == QTextListFormat::ListCircle ||
           style == QTextListFormat::ListSquare;
}

/// RTF's number for a kind of numbering.
int numberFormat(QTextListFormat::Style style) {
    switch (style) {
        case QTextListFormat::ListUpperRoman:
            return 1;
        case QTextListFormat::ListLowerRoman:
            return 2;
        case QTextListFormat::ListUpperAlpha:
            return 3;
        case QTextListFormat::ListLowerAlpha:
            return 4;
        case QTextListFormat::ListDecimal:
            return 0;
        default:
            return 23;
    }
}

char16_t bullet(QTextListFormat::Style style) {
    if (style == QTextListFormat::ListCircle)
        return u'\u25E6';
    return style == QTextListFormat::ListSquare ? u'\u25AA' : u'\u2022';
}

void appendLevel(QByteArray &out, QTextListFormat::Style style, int level) {
    const int format = numberFormat(style);
    appendRtfWord(out, "{\\listlevel\\levelnfc", format);
    appendRtfWord(out, "\\levelnfcn", format);
    out += "\\leveljc0\\leveljcn0\\levelfollow0\\levelstartat1{\\leveltext";
    if (isBullet(style)) {
        const char16_t sign = bullet(style);
        out += "\\'01";
        appendRtfText(out, QStringView(&sign, 1));
        out += ";}{\\levelnumbers;}";
    } else {
        appendRtfWord(out, "\\'02\\'0", level);
        out += ".;}{\\levelnumbers\\'01;}";
    }
    appendRtfWord(out, "\\fi", -RtfListTable::markerWidth);
    appendRtfWord(out, "\\li", (level + 1) * twipsPerIndent);
    out += '}';
}

}  // namespace

int RtfListTable::level(const QTextListFormat &format) {
    return std::clamp(format.indent() - 1, 0, deepestLevel);
}

int RtfListTable::textIndent(const QTextListFormat &format) {
    return (level(format) + 1) * twipsPerIndent;
}

QString RtfListTable::marker(const QTextList &list, const QTextBlock &item) {
    const QTextListFormat::Style style = list.format().style();
    return isBullet(style) ? QString(QChar(bullet(style))) : list.itemText(item);
}

int RtfListTable::number(const QTextList &list) {
    const QTextListFormat format = list.format();
    const Entry entry{format.style(), level(format)};
    QHash<int, int> &numbers = isBullet(entry.style) ? _bulletNumbers : _numbersByObject;
    const int key = isBullet(entry.style) ? entry.style * 16 + entry.level : list.objectIndex();
    const auto known = numbers.constFind(key);
    if (known != numbers.constEnd())
        return *known;
    if (_entries.size() >= mostLists)
        return 0;
    _entries.push_back(entry);
    const int number = static_cast<int>(_entries.size());
    numbers.insert(key, number);
    return number;
}

QByteArray RtfListTable::bytes() const {
    if (_entries.empty())
        return {};
    QByteArray lists = "{\\*\\listtable";
    QByteArray overrides = "{\\*\\listoverridetable";
    int number = 0;
    for (const Entry &entry : _entries) {
        ++number;
        appendRtfWord(lists, "{\\list\\listtemplateid", number);
        for (int level = 0; level <= deepestLevel; ++level)
            appendLevel(lists, entry.style, level);
        appendRtfWord(lists, "{\\listname ;}\\listid", number);
        lists += "}\n";
        appendRtfWord(overrides, "{\\listoverride\\listid", number);
        appendRtfWord(overrides, "\\listoverridecount0\\ls", number);
        overrides += '}';
    }
    return lists + "}\n" + overrides + "}\n";
}

}  // namespace pelorinnews
