#pragma once

#include <QString>

#include <limits>

namespace pelorinnews {

/// Makes `text` from an outside source safe for one line of a log or a terminal. Simplifies white
/// space; replaces control characters, lone surrogates and format characters (except zero-width
/// joiner and non-joiner, which some scripts need) with U+FFFD; cuts to `maxLength` UTF-16 units,
/// the last of which is then an ellipsis. `maxLength` must be at least 1. A null text stays null.
[[nodiscard]] inline QString printableText(
    const QString &text, qsizetype maxLength = std::numeric_limits<qsizetype>::max()) {
    if (text.isNull())
        return text;
    QString line = text.simplified();
    if (line.size() > maxLength) {
        qsizetype kept = maxLength - 1;
        if (kept > 0 && line[kept - 1].isHighSurrogate())
            --kept;
        line = line.first(kept) + QChar(u'…');
    }
    for (qsizetype i = 0; i < line.size(); ++i) {
        char32_t character = line[i].unicode();
        qsizetype units = 1;
        if (line[i].isHighSurrogate() && i + 1 < line.size() && line[i + 1].isLowSurrogate()) {
            character = QChar::surrogateToUcs4(line[i], line[i + 1]);
            units = 2;
        }
        constexpr char32_t nonJoiner = 0x200C;
        constexpr char32_t joiner = 0x200D;
        const QChar::Category category = QChar::category(character);
        const bool isFormat =
            category == QChar::Other_Format && character != nonJoiner && character != joiner;
        if (isFormat || category == QChar::Other_Control || category == QChar::Other_Surrogate)
            line.replace(i, units, QChar(QChar::ReplacementCharacter));
        else
            i += units - 1;
    }
    return line;
}

}  // namespace pelorinnews
