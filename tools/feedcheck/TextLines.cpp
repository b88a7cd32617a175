#include "TextLines.h"

#include <algorithm>

namespace pelorinnews {

namespace {

/// The length of `utf8` in UTF-16 units.
qsizetype unitsOf(std::string_view utf8) {
    qsizetype units = 0;
    for (const char byte : utf8) {
        constexpr unsigned char firstOfFour = 0xF0;
        const auto value = static_cast<unsigned char>(byte);
        const bool continues = (value & 0xC0U) == 0x80U;
        units += continues ? 0 : value >= firstOfFour ? 2 : 1;
    }
    return units;
}

}  // namespace

void TextLines::clear() {
    _marks.clear();
    _size = 0;
    _nextLine = 0;
}

void TextLines::add(std::string_view piece, qint64 line) {
    if (_marks.empty() || line != _nextLine)
        _marks.push_back({_size, line});
    _size += unitsOf(piece);
    _nextLine = line + std::count(piece.begin(), piece.end(), '\n');
}

qint64 TextLines::lineAt(qsizetype position, QStringView text) const {
    const auto behind =
        std::upper_bound(_marks.begin(), _marks.end(), position,
                         [](qsizetype asked, const Mark &mark) { return asked < mark.position; });
    if (behind == _marks.begin())
        return 0;
    const Mark &mark = *std::prev(behind);
    const qsizetype end = std::min(position, text.size());
    return mark.line + text.sliced(std::min(mark.position, end))
                           .first(std::max<qsizetype>(0, end - mark.position))
                           .count(u'\n');
}

}  // namespace pelorinnews
