#pragma once

#include <QByteArray>
#include <QString>

#include <string_view>

namespace pelorinnews {

/// A condition on the whole name of a file-system entry, as in a LIKE comparison: `*` stands for
/// any run of characters, even an empty one, `?` for exactly one, and everything else, including
/// `[` and `\`, for itself. Case and diacritics count.
///
/// A plain value. Compares names as the bytes that the file system stores; a byte that is not valid
/// UTF-8 counts as one character for `?`.
class FileNamePattern {
public:
    /// A pattern that no name satisfies.
    FileNamePattern() = default;

    static FileNamePattern like(const QString &pattern);

    [[nodiscard]] bool matches(std::string_view name) const;

    /// False if no name can ever match: the pattern is empty or holds a slash or a NUL.
    [[nodiscard]] bool canMatch() const;

    /// A SPARQL condition (group graph pattern) that binds `?n` to the name of the file `?f` and
    /// holds if that name matches.
    [[nodiscard]] QString sparqlCondition() const;

private:
    QByteArray _pattern;
};

}  // namespace pelorinnews
