#include "HtmlTextWriter.h"

#include "HtmlEntity.h"

namespace pelorinnews {

namespace {

// Layout searches for each line break from the start of the word, so the length of a word must be
// limited. A word may exceed this limit by half, so that a break does not separate a character from
// its combining marks.
constexpr int maxWordLength = 200;
constexpr int maxDirections = 100;
constexpr QChar breakHere(0x200B);

bool isDirection(char32_t character) {
    return (character >= 0x202A && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

}  // namespace

void HtmlTextWriter::startBlock() {
    _word = 0;
    _directionsInBlock = 0;
}

void HtmlTextWriter::write(QStringView text, size_t font, bool preserved) {
    for (qsizetype at = 0; at < text.size();) {
        const QChar c = text[at];
        if (c == QLatin1Char('&')) {
            const HtmlEntity entity = HtmlEntity::at(text.sliced(at));
            at += entity.length;
            if (entity.isKnown()) {
                for (const char32_t each : entity.text.toStdU32String())
                    writeCharacter(each, font, preserved);
            } else if (entity.isNamed) {
                countWord(false);
                _out += text.sliced(at - entity.length, entity.length);
                _cost.addCharacter(QChar::ReplacementCharacter, font);
            } else {
                writeCharacter(U'&', font, preserved);
            }
        } else if (c.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate()) {
            writeCharacter(QChar::surrogateToUcs4(c, text[at + 1]), font, preserved);
            at += 2;
        } else {
            writeCharacter(
                c.isSurrogate() ? char32_t{QChar::ReplacementCharacter} : char32_t{c.unicode()},
                font, preserved);
            ++at;
        }
    }
}

void HtmlTextWriter::writeCharacter(char32_t character, size_t font, bool preserved) {
    if (character == 0 || (isDirection(character) && ++_directionsInBlock > maxDirections))
        return;
    _cost.addCharacter(character, font);
    if (QChar::isSpace(character) && character != QChar::Nbsp) {
        _word = 0;
        if (preserved && character == U'\n')
            _cost.addLineBreak();
    } else {
        const QChar::Category category = QChar::category(character);
        countWord(category >= QChar::Mark_NonSpacing && category <= QChar::Mark_Enclosing);
    }
    if (character == U'<')
        _out += QStringLiteral("&lt;");
    else if (character == U'>')
        _out += QStringLiteral("&gt;");
    else if (character == U'&')
        _out += QStringLiteral("&amp;");
    else
        _out += QChar::fromUcs4(character);
}

void HtmlTextWriter::countWord(bool mark) {
    if (!_cost.isDisplay() || ++_word <= maxWordLength || (mark && _word <= maxWordLength * 3 / 2))
        return;
    _out += breakHere;
    _word = 1;
}

}  // namespace pelorinnews
