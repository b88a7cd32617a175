#include "HtmlWork.h"

#include "HtmlElements.h"

#include <algorithm>

namespace pelorinnews {

namespace {

constexpr qint64 most = 25'000'000;

constexpr qint64 copiedCharacter = 25;
constexpr qint64 copiedTag = 300;
constexpr qint64 copiedCell = 1'500;

constexpr qint64 shownCharacter = 15;
// A block is laid out as a whole once any of it is seen, others only when they come into view.
constexpr qint64 shownCharacterOfLongBlock = 60;
constexpr qint64 longBlock = 5'000;
// Lines can end before and after each of these.
constexpr qint64 shownIdeograph = 200;
constexpr char16_t firstIdeograph = 0x2e80;
constexpr qint64 shownTag = 500;
constexpr qint64 shownLineBreak = 1'200;
// For a table that lies in no other; every table around doubles it.
constexpr qint64 shownCell = 5'000;
constexpr qsizetype deepestTable = 30;

// Each is laid out anew with every one that follows in its block, even before anything is shown.
constexpr qint64 pictureBeforeAnother = 20;

constexpr qint64 attribute = 100;
constexpr qint64 styleRule = 800;
constexpr qint64 ruleHeldAgainstElement = 10;
constexpr qint64 fontLookedUp = 30'000;

}  // namespace

void HtmlWork::addText(QStringView text) {
    _charactersOfBlock += text.size();
    if (!_display) {
        _sum += text.size() * copiedCharacter;
        return;
    }
    const qint64 each = _charactersOfBlock > longBlock ? shownCharacterOfLongBlock : shownCharacter;
    for (const QChar c : text) {
        if (c.isSpace()) {
            _charactersOfWord = 0;
        } else if (c.unicode() >= firstIdeograph && !c.isSurrogate()) {
            _charactersOfWord = 0;
            _sum += shownIdeograph;
        } else {
            // A word that fills many lines is looked through from its start for each of them.
            _sum += ++_charactersOfWord / 20;
        }
    }
    _sum += text.size() * each;
}

void HtmlWork::addStartTag(const QString &name, qsizetype depth) {
    addEndTag(name);
    if (name == QStringLiteral("img"))
        _sum += _picturesOfBlock++ * pictureBeforeAnother;
    // Each rule is held against the element and against those around it.
    _sum += (_styleRules + 1) * (depth + 1) * ruleHeldAgainstElement;
}

void HtmlWork::addEndTag(const QString &name) {
    if (HtmlElements::isBlock(name)) {
        _charactersOfBlock = 0;
        _charactersOfWord = 0;
        _picturesOfBlock = 0;
    }
    if (!_display) {
        _sum += copiedTag;
        return;
    }
    const bool lineBreak = name == QStringLiteral("br");
    if (lineBreak)
        _charactersOfWord = 0;
    _sum += lineBreak ? shownLineBreak : shownTag;
}

void HtmlWork::addAttribute(const QString &name, const QString &value) {
    _sum += attribute + value.size();
    if (!_display)
        return;
    const bool font = name == QStringLiteral("face") ||
                      (name == QStringLiteral("style") && value.contains(QStringLiteral("font")));
    if (!font || _fontStyles.contains(value))
        return;
    _fontStyles.insert(value);
    _sum += fontLookedUp;
}

void HtmlWork::addStyleSheet(const QString &rules) {
    const qint64 count = rules.count(QLatin1Char('{')) + rules.count(QLatin1Char(','));
    _styleRules += count;
    _sum += count * styleRule;
    if (_display)
        _sum += rules.count(QStringLiteral("font")) * fontLookedUp;
}

void HtmlWork::addCells(qint64 count, qsizetype depth) {
    const auto doublings = std::clamp<qsizetype>(depth - 1, 0, deepestTable);
    _sum += count * (_display ? shownCell << doublings : copiedCell);
}

bool HtmlWork::isTooMuch() const {
    return _sum > most;
}

}  // namespace pelorinnews
