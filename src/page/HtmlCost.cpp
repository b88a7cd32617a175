#include "HtmlCost.h"

#include <QChar>

#include <algorithm>
#include <optional>

namespace pelorinnews {

namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

// The time limit for a page.
constexpr nanoseconds maxTime = 200ms;

// The time limit for a page together with its images. It is below the quarter of a second that
// `BoundedHtml` states, because decoding of an image is aborted only when the decoder next reads
// from its file.
constexpr nanoseconds maxTimeWithPictures = 225ms;
constexpr nanoseconds minPictureTime = 25ms;

struct Rate {
    nanoseconds copied;
    nanoseconds shown;
};

constexpr Rate plainCharacter{60ns, 350ns};
constexpr Rate otherCharacter{150ns, 600ns};
// Code points from `firstFar` on (Thai, Chinese, Japanese...). In many of these scripts a line can
// break at every character, and fonts for them are the largest.
constexpr Rate farCharacter{150ns, 1300ns};
constexpr char32_t firstOther = 0x80;
constexpr char32_t firstFar = 0x0e00;
// Where the script changes, a new text run begins, which is shaped separately.
constexpr Rate scriptChange{0ns, 4us};
// So does one where the direction changes, for example before a number in Hebrew text.
constexpr Rate directionChange{0ns, 12us};
// The shaper compares each combining mark with those before it on the same letter. Text is shaped
// in runs of limited length.
constexpr nanoseconds markBefore = 10ns;
constexpr int longestRun = 4096;
constexpr nanoseconds fontOfScript = 600us;
// If no installed font can shape the script, all installed fonts are tried.
constexpr nanoseconds fontOfComplexScript = 16ms;

constexpr nanoseconds piece = 60ns;
constexpr nanoseconds characterRead = 1ns;
constexpr nanoseconds tag = 700ns;
constexpr nanoseconds lookup = 10ns;
constexpr Rate block{6us, 10us};
constexpr Rate inlineElement{4us, 14us};
constexpr Rate characterOfTag{20ns, 20ns};
constexpr Rate declaration{3us, 6us};
constexpr Rate lineBreak{5us, 10us};
constexpr Rate picture{20us, 60us};
// An image costs this much more for each earlier image in its block.
constexpr nanoseconds pictureBefore = 300ns;
constexpr nanoseconds characterOfAddress = 30ns;
constexpr nanoseconds copiedCell = 7us;
constexpr Rate spanInCells{5ns, 5ns};

// The contents of a table are laid out three times: for the table's minimum width, for its maximum
// width, and for its final width. Each level of table nesting doubles the number of layouts. These
// are the rates for one such layout:
constexpr nanoseconds layoutOfPlain = 400ns;
constexpr nanoseconds layoutOfOther = 700ns;
constexpr nanoseconds layoutOfFar = 2us;
constexpr nanoseconds layoutOfScriptChange = 3500ns;
// In a narrow table, where nearly every run has a line of its own.
constexpr nanoseconds layoutOfDirectionChange = 60us;
constexpr nanoseconds layoutOfElement = 6us;
constexpr nanoseconds layoutOfLine = 6us;
constexpr nanoseconds layoutOfCell = 21us;

/// Whether the character is written from right to left, or like a number in such text from left to
/// right; absent if the characters around it decide.
std::optional<bool> isRightToLeft(char32_t character) {
    switch (QChar::direction(character)) {
        case QChar::DirR:
        case QChar::DirAL:
            return true;
        case QChar::DirL:
        case QChar::DirEN:
        case QChar::DirAN:
            return false;
        default:
            return std::nullopt;
    }
}

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
        _time += cost(plainCharacter);
        addLayout(layoutOfPlain);
    } else {
        _time += cost(character < firstFar ? otherCharacter : farCharacter);
        addLayout(character < firstFar ? layoutOfOther : layoutOfFar);
    }
    if (!_display)
        return;
    if (QChar::combiningClass(character) == 0) {
        _marks = 0;
    } else {
        const nanoseconds marks = std::min(_marks++, longestRun) * markBefore;
        _time += marks;
        addLayout(marks);
    }
    const QChar::Script script = QChar::script(character);
    if (isOfOwnScript(script) && script != _script) {
        _script = script;
        _time += cost(scriptChange);
        addLayout(layoutOfScriptChange);
    }
    const std::optional<bool> direction = isRightToLeft(character);
    if (direction && *direction != _isRightToLeft) {
        _isRightToLeft = *direction;
        _time += directionChange.shown;
        addLayout(layoutOfDirectionChange);
    }
    const size_t pair = qHashMulti(0, font, static_cast<int>(script));
    if (pair == _pair || _fonts.contains(pair))
        return;
    _pair = pair;
    _fonts.insert(pair);
    _time += isComplex(script) ? fontOfComplexScript : fontOfScript;
}

void HtmlCost::addRead(qsizetype characters) {
    _time += piece + characters * characterRead;
}

void HtmlCost::addTag(qsizetype lookups) {
    _time += tag + lookups * lookup;
}

void HtmlCost::addElement(bool isBlock, qsizetype length) {
    const Rate &rate = isBlock ? block : inlineElement;
    _time += (_display ? rate.shown : rate.copied) + length * characterOfTag.copied;
    addLayout(layoutOfElement);
}

void HtmlCost::addDeclarations(qsizetype count) {
    _time += count * (_display ? declaration.shown : declaration.copied);
}

void HtmlCost::addLineBreak() {
    _time += _display ? lineBreak.shown : lineBreak.copied;
    addLayout(layoutOfLine);
}

void HtmlCost::addPicture(int before, qsizetype addressLength) {
    _time += (_display ? picture.shown : picture.copied) + before * pictureBefore +
             addressLength * characterOfAddress;
    addLayout(layoutOfElement);
}

void HtmlCost::addCells(qint64 count) {
    if (!_display)
        _time += count * copiedCell;
    addLayout(count * layoutOfCell);
}

/// Inside tables, adds the cost of laying out the same content repeatedly; `layout` is the cost of
/// one layout. Outside tables, adds nothing: the other rates include one layout.
void HtmlCost::addLayout(nanoseconds layout) {
    if (_display && _tableDepth > 0)
        _time += layout * (qint64{1} << _tableDepth);
}

void HtmlCost::addSpans(qint64 count) {
    _time += count * spanInCells.copied;
}

bool HtmlCost::isMuch() const {
    return _time > maxTime / 4;
}

std::chrono::nanoseconds HtmlCost::timeForPictures() const {
    return std::max(maxTimeWithPictures - _time, minPictureTime);
}

bool HtmlCost::isTooMuch() const {
    return _time > maxTime;
}

}  // namespace pelorinnews
