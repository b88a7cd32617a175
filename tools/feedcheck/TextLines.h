#pragma once

#include <QString>

#include <string_view>
#include <vector>

namespace pelorinnews {

/// The lines of a document from which the text of one element comes. A text does not tell by
/// itself: a character reference for a line feed is no line of the document.
class TextLines {
public:
    void clear();

    /// The next piece of the text, in UTF-8, and the line of the document in which it begins.
    void add(std::string_view piece, qint64 line);

    /// The line of the character at `position` (in UTF-16 units) of `text`, the whole text; 0 if
    /// the text has no piece.
    [[nodiscard]] qint64 lineAt(qsizetype position, QStringView text) const;

private:
    /// Where the line in the document is not that of the previous mark plus the line feeds between.
    struct Mark {
        qsizetype position;
        qint64 line;
    };

    std::vector<Mark> _marks;
    qsizetype _size = 0;
    qint64 _nextLine = 0;
};

}  // namespace pelorinnews
