#include "HtmlCost.h"

#include <QChar>

#include <algorithm>

namespace pelorinnews {

namespace {

// The time limit for a page. This limit and all rates below are in nanoseconds.
constexpr qint64 most = 200'000'000;

// A page and its images together. A little less than the quarter of a second that is promised: an
// image is given up only between two reads of its file.
constexpr std::chrono::nanoseconds pageTime = std::chrono::milliseconds(225);
constexpr std::chrono::nanoseconds minPictureTime = std::chrono::milliseconds(25);

struct Rate {
    qint64 copied;
    qint64 shown;
};

constexpr Rate plainCharacter{60, 350};
constexpr Rate otherCharacter{150, 600};
// Characters from `firstFar` on (Thai, Chinese, Japanese...). In many of these scripts a line can
// break at every character, and their fonts are the largest.
constexpr Rate farCharacter{150, 1'300};
constexpr char32_t firstOther = 0x80;
constexpr char32_t firstFar = 0x0e00;
// Where the script changes, a new text run begins, which is shaped separately.
constexpr Rate scriptChange{0, 4'000};
constexpr qint64 fontOfScript = 600'000;
// If no installed font can shape the script, all installed fonts are tried.
constexpr qint64 fontOfComplexScript = 16'000'000;

constexpr qint64 piece = 60;
constexpr qint64 characterRead = 1;
constexpr qint64 tag = 700;
constexpr qint64 lookup = 10;
constexpr Rate block{6'000, 10'000};
constexpr Rate inlineElement{4'000, 14'000};
constexpr Rate characterOfTag{20, 20};
constexpr Rate declaration{3'000, 6'000};
constexpr Rate lineBreak{5'000, 10'000};
constexpr Rate picture{20'000, 60'000};
// Each image is laid out again for every later image in its block, even before anything is shown.
constexpr Rate pictureBefore{300, 300};
constexpr Rate characterOfAddress{30, 30};
constexpr qint64 copiedCell = 7'000;
constexpr Rate spanInCells{5, 5};

// The contents of a table are laid out three times: for the table's minimum width, for its maximum
// width, and for its final width. Each level of table nesting doubles the number of layouts. The
// rates of one such layout:
constexpr qint64 layoutOfPlain = 200;
constexpr qint64 layoutOfOther = 350;
constexpr qint64 layoutOfFar = 1'000;
constexpr qint64 layoutOfScriptChange = 3'500;
constexpr qint64 layoutOfElement = 6'000;
constexpr qint64 layoutOfLine = 6'000;
constexpr qint64 layoutOfCell = 21'000;

bool isOfOwnScript(QChar::Script script) {
    return script != QChar::Script_Common && script != QChar::Script_Inherited &&
           script != QChar::Script_Unknown;
}

/// Scripts for which Qt requires that a font supports their shaping, not only that it has their
/// characters.
bool isComplex(QChar::Script script) {
    return (script >= QChar::Script_Devanagari && script <= QChar::Script_Sinhala) ||
           script == QChar::Script_Syriac || script == QChar::Script_Thaana ||
           script == QChar::Script_Khmer || script == QChar::Script_Nko;
}

}  // namespace

void HtmlCost::addCharacter(char32_t character, size_t font) {
    const auto cost = [this](const Rate &rate) { return _display ? rate.shown : rate.copied; };
    if (character < firstOther) {
        _nanoseconds += cost(plainCharacter);
        addLayout(layoutOfPlain);
    } else {
        _nanoseconds += cost(character < firstFar ? otherCharacter : farCharacter);
        addLayout(character < firstFar ? layoutOfOther : layoutOfFar);
    }
    if (!_display)
        return;
    const QChar::Script script = QChar::script(character);
    if (isOfOwnScript(script) && script != _script) {
        _script = script;
        _nanoseconds += cost(scriptChange);
        addLayout(layoutOfScriptChange);
    }
    const size_t pair = qHashMulti(0, font, static_cast<int>(script));
    if (pair == _pair || _fonts.contains(pair))
        return;
    _pair = pair;
    _fonts.insert(pair);
    _nanoseconds += isComplex(script) ? fontOfComplexScript : fontOfScript;
}

void HtmlCost::addRead(qsizetype characters) {
    _nanoseconds += piece + characters * characterRead;
}

void HtmlCost::addTag(qsizetype lookups) {
    _nanoseconds += tag + lookups * lookup;
}

void HtmlCost::addElement(bool isBlock, qsizetype length) {
    const Rate &rate = isBlock ? block : inlineElement;
    _nanoseconds += (_display ? rate.shown : rate.copied) + length * characterOfTag.copied;
    addLayout(layoutOfElement);
}

void HtmlCost::addDeclarations(qsizetype count) {
    _nanoseconds += count * (_display ? declaration.shown : declaration.copied);
}

void HtmlCost::addLineBreak() {
    _nanoseconds += _display ? lineBreak.shown : lineBreak.copied;
    addLayout(layoutOfLine);
}

void HtmlCost::addPicture(int before, qsizetype addressLength) {
    _nanoseconds += (_display ? picture.shown : picture.copied) + before * pictureBefore.copied +
                    addressLength * characterOfAddress.copied;
    addLayout(layoutOfElement);
}

void HtmlCost::addCells(qint64 count) {
    if (!_display)
        _nanoseconds += count * copiedCell;
    addLayout(count * layoutOfCell);
}

/// Adds the repeated layouts in tables; `nanoseconds` is the cost of one layout. Outside of tables,
/// the other rates include the layout.
void HtmlCost::addLayout(qint64 nanoseconds) {
    if (_display && _tableDepth > 0)
        _nanoseconds += nanoseconds << _tableDepth;
}

void HtmlCost::addSpans(qint64 count) {
    _nanoseconds += count * spanInCells.copied;
}

bool HtmlCost::isMuch() const {
    return _nanoseconds > most / 4;
}

std::chrono::nanoseconds HtmlCost::timeForPictures() const {
    return std::max(pageTime - std::chrono::nanoseconds(_nanoseconds), minPictureTime);
}

bool HtmlCost::isTooMuch() const {
    return _nanoseconds > most;
}

}  // namespace pelorinnews
