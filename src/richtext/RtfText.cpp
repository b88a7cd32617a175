#include "RtfText.h"

#include <QChar>

namespace pelorinnews {

namespace {

/// The control word for a character, or null if it has none.
const char *controlWord(char16_t unit) {
    switch (unit) {
        case u'\t':
            return "\\tab ";
        case u'\n':
        case QChar::LineSeparator:
            return "\\line ";
        case QChar::Nbsp:
            return "\\~";
        case QChar::SoftHyphen:
            return "\\-";
        case u'\u2011':
            return "\\_";
        default:
            return nullptr;
    }
}

bool isText(char16_t unit) {
    const bool control = unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
    const bool noncharacter = (unit >= 0xFDD0 && unit <= 0xFDEF) || unit >= 0xFFFE;
    const bool structure =
        unit == QChar::ObjectReplacementCharacter || unit == QChar::ParagraphSeparator;
    return !control && !noncharacter && !structure;
}

void appendUnit(QByteArray &out, char16_t unit) {
    out += "\\u";
    out += QByteArray::number(static_cast<qint16>(unit));
    out += '?';
}

}  // namespace

void appendRtfText(QByteArray &out, QStringView text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (const char *word = controlWord(unit)) {
            out += word;
        } else if (unit >= 0x20 && unit < 0x7F) {
            if (unit == u'\\' || unit == u'{' || unit == u'}')
                out += '\\';
            out += static_cast<char>(unit);
        } else if (QChar::isHighSurrogate(unit) && i + 1 < text.size() &&
                   text[i + 1].isLowSurrogate()) {
            appendUnit(out, unit);
            appendUnit(out, text[++i].unicode());
        } else if (QChar::isSurrogate(unit)) {
            appendUnit(out, QChar::ReplacementCharacter);
        } else if (isText(unit)) {
            appendUnit(out, unit);
        }
    }
}

void appendRtfWord(QByteArray &out, const char *word, int value) {
    out += word;
    out += QByteArray::number(value);
}

}  // namespace pelorinnews
