// The promise tested: a pattern matches the same names as a simple model of it, and the condition
// for the index keeps the pattern inside its quotes.

#include "Input.h"
#include "platform/EntryPattern.h"

#include <string>
#include <vector>

using namespace pelorinnews;

namespace {

/// Longer names exist in no file system.
constexpr qsizetype maxNameSize = 255;

void require(bool holds) {
    if (!holds)
        qFatal("a pattern of names violates one of its guarantees");
}

/// The length of the UTF-8 character at the start of `text`; 1 for a byte that begins none.
size_t characterLength(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    size_t length = 1;
    if (byte(0) >= 0xC2 && byte(0) < 0xE0)
        length = 2;
    else if (byte(0) >= 0xE0 && byte(0) < 0xF0)
        length = 3;
    else if (byte(0) >= 0xF0 && byte(0) < 0xF5)
        length = 4;
    for (size_t i = 1; i < length; ++i) {
        if (i >= text.size() || byte(i) < 0x80 || byte(i) > 0xBF)
            return 1;
    }
    return length;
}

/// Whether the whole `name` matches the whole `pattern`, by a table of all their ends: row by row,
/// whether the rest of the name from each byte on matches the rest of the pattern.
bool matchesByTable(std::string_view pattern, std::string_view name) {
    std::vector<bool> rest(name.size() + 1, false);
    rest[name.size()] = true;
    for (size_t row = pattern.size(); row-- > 0;) {
        std::vector<bool> matches(name.size() + 1, false);
        for (size_t at = name.size() + 1; at-- > 0;) {
            const size_t next = at == name.size() ? at : at + characterLength(name.substr(at));
            if (pattern[row] == '*')
                matches[at] = rest[at] || (at < name.size() && matches[next]);
            else if (at < name.size() && pattern[row] == '?')
                matches[at] = rest[next];
            else if (at < name.size() && pattern[row] == name[at])
                matches[at] = rest[at + 1];
        }
        rest = matches;
    }
    return rest[0];
}

/// Checks that each text in quotes ends, and that nothing but the condition's own words is outside.
void checkCondition(const QString &condition) {
    QString outside;
    bool isInside = false;
    for (qsizetype i = 0; i < condition.size(); ++i) {
        const QChar character = condition[i];
        if (isInside && character == u'\\')
            ++i;
        else if (character == u'"')
            isInside = !isInside;
        else if (!isInside)
            outside.append(character);
        require(!isInside || (character != u'\n' && character != u'\r'));
    }
    require(!isInside);
    require(outside == u"?f nfo:fileName ?n ,  ." ||
            outside == u"?f nfo:fileName ?n . FILTER(REGEX(?n, , ))");
}

}  // namespace

/// The first line is the pattern, the rest a name.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(QByteArrayView(data, static_cast<qsizetype>(size)));
    const QString text = QString::fromUtf8(input.bytesUntil('\n'));
    const QByteArray name = input.bytes(maxNameSize).toByteArray();
    const std::string_view view(name.constData(), static_cast<size_t>(name.size()));
    const auto pattern = FileNamePattern::like(text);

    const std::string utf8 = text.toStdString();
    const bool expected = !utf8.empty() && matchesByTable(utf8, view);
    require(pattern.matches(view) == expected);
    require(!expected || pattern.canMatch() ||
            view.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos);
    checkCondition(pattern.sparqlCondition());

    const EntryPattern files(pattern);
    const EntryPattern programs(pattern, EntryPattern::Kind::Program);
    require(files.mayMatch(view, false) == expected && files.mayMatch(view, true) == expected);
    require(programs.mayMatch(view, false) == expected && !programs.mayMatch(view, true));
    return 0;
}
