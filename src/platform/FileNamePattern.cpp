#include "FileNamePattern.h"

#include <optional>
#include <tuple>
#include <utility>

namespace pelorinnews {

namespace {

/// The length in bytes of the character at the start of `text`; one for a byte that starts no valid
/// character.
std::size_t characterLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    std::size_t length = 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        length = 2;
    else if ((lead & 0xF0U) == 0xE0)
        length = 3;
    else if (lead >= 0xF0 && lead <= 0xF4)
        length = 4;
    if (text.size() < length)
        return 1;
    for (std::size_t i = 1; i < length; ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80)
            return 1;
    }
    return length;
}

std::string_view view(const QByteArray &bytes) {
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

void appendQuoted(QString &query, const QString &text) {
    query += QLatin1Char('"');
    for (const QChar character : text) {
        switch (character.unicode()) {
            case '"':
            case '\\':
                query += QLatin1Char('\\');
                query += character;
                break;
            case '\n':
                query += QLatin1String("\\n");
                break;
            case '\r':
                query += QLatin1String("\\r");
                break;
            default:
                query += character;
        }
    }
    query += QLatin1Char('"');
}

}  // namespace

FileNamePattern FileNamePattern::like(const QString &pattern) {
    FileNamePattern made;
    made._pattern = pattern.toUtf8();
    return made;
}

bool FileNamePattern::canMatch() const {
    return !_pattern.isEmpty() && !_pattern.contains('/') && !_pattern.contains('\0');
}

bool FileNamePattern::matches(std::string_view name) const {
    if (_pattern.isEmpty())
        return false;
    std::string_view left = view(_pattern);
    // For backtracking: the pattern after the last star, and the rest of the name that this star
    // may still absorb.
    std::optional<std::pair<std::string_view, std::string_view>> star;
    while (!name.empty() || !left.empty()) {
        if (!left.empty() && left.front() == '*') {
            left.remove_prefix(1);
            star.emplace(left, name);
            continue;
        }
        if (!left.empty() && !name.empty()) {
            if (left.front() == '?') {
                left.remove_prefix(1);
                name.remove_prefix(characterLength(name));
                continue;
            }
            if (left.front() == name.front()) {
                left.remove_prefix(1);
                name.remove_prefix(1);
                continue;
            }
        }
        if (!star || star->second.empty())
            return false;
        star->second.remove_prefix(characterLength(star->second));
        std::tie(left, name) = *star;
    }
    return true;
}

QString FileNamePattern::sparqlCondition() const {
    const QString text = QString::fromUtf8(_pattern);
    QString condition;
    if (!text.contains(QLatin1Char('*')) && !text.contains(QLatin1Char('?'))) {
        condition = QStringLiteral("?f nfo:fileName ?n , ");
        appendQuoted(condition, text);
        return condition + QLatin1String(" .");
    }
    QString expression = QStringLiteral("^");
    for (const QChar character : text) {
        if (character == QLatin1Char('*'))
            expression += QLatin1String(".*");
        else if (character == QLatin1Char('?'))
            expression += QLatin1Char('.');
        else if (character.unicode() < 128 && !character.isLetterOrNumber() && character.isPrint())
            (expression += QLatin1Char('\\')) += character;
        else
            expression += character;
    }
    condition = QStringLiteral("?f nfo:fileName ?n . FILTER(REGEX(?n, ");
    appendQuoted(condition, expression + QLatin1Char('$'));
    return condition + QLatin1String(", \"s\"))");
}

}  // namespace pelorinnews
