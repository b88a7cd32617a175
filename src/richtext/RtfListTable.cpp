#include "RtfListTable.h"

#include "RtfText.h"

#include <algorithm>

namespace pelorinnews {

namespace {

// Common word processors keep no more lists than this in a document.
constexpr std::size_t maxLists = 2000;
constexpr int maxLevel = 8;
constexpr int twipsPerIndent = 40 * twipsPerPixel;

/// The RTF number format (`\levelnfc`) of a list marker.
int numberFormat(ListMarker marker) {
    switch (marker) {
        case ListMarker::UpperRoman:
            return 1;
        case ListMarker::LowerRoman:
            return 2;
        case ListMarker::UpperAlpha:
            return 3;
        case ListMarker::LowerAlpha:
            return 4;
        case ListMarker::Decimal:
            return 0;
        default:
            return 23;
    }
}

void appendLevel(QByteArray &out, ListMarker marker, int start, int level) {
    const int format = numberFormat(marker);
    appendRtfWord(out, "{\\listlevel\\levelnfc", format);
    appendRtfWord(out, "\\levelnfcn", format);
    appendRtfWord(out, "\\leveljc0\\leveljcn0\\levelfollow0\\levelstartat", start);
    out += "{\\leveltext";
    if (!isNumbered(marker)) {
        out += "\\'01";
        appendRtfText(out, markerText({.marker = marker}));
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

int RtfListTable::level(const PageListItem &item) {
    return std::clamp(item.depth - 1, 0, maxLevel);
}

int RtfListTable::number(const PageListItem &item) {
    if (!isNumbered(item.marker)) {
        int &number = _bulletNumbers[static_cast<int>(item.marker) * 16 + level(item)];
        if (number == 0)
            number = add({item.marker, 1});
        return number;
    }
    if (item.reversed || item.number < 0)
        return 0;
    Counting &counting = _countings[item.list];
    if (counting.number == 0 || counting.marker != item.marker || counting.next != item.number)
        counting = {add({item.marker, item.number}), item.marker, item.number};
    ++counting.next;
    return counting.number;
}

int RtfListTable::add(const Entry &entry) {
    if (_entries.size() >= maxLists)
        return 0;
    _entries.push_back(entry);
    return static_cast<int>(_entries.size());
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
        for (int level = 0; level <= maxLevel; ++level)
            appendLevel(lists, entry.marker, entry.start, level);
        appendRtfWord(lists, "{\\listname ;}\\listid", number);
        lists += "}\n";
        appendRtfWord(overrides, "{\\listoverride\\listid", number);
        appendRtfWord(overrides, "\\listoverridecount0\\ls", number);
        overrides += '}';
    }
    return lists + "}\n" + overrides + "}\n";
}

}  // namespace pelorinnews
