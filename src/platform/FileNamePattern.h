#pragma once

#include <QByteArray>
#include <QString>

#include <string_view>

namespace pelorinnews {

/// A condition on the whole name of a file-system entry, as a LIKE comparison takes it: `*` stands
/// for any run of characters, none included, `?` for exactly one, and everything else, `[` and `\`
/// included, for itself. Case and diacritics count.
///
/// A plain value. Names are compared as the bytes that the file system keeps; a byte that is no
/// UTF-8 counts as one character for `?`.
class FileNamePattern {
public:
    /// A pattern that no name satisfies.
    FileNamePattern() = default;

    static FileNamePattern like(const QString &pattern);

    [[nodiscard]] bool matches(std::string_view name) const;

    /// False where no name can ever satisfy the pattern: it is empty or holds a slash or a NUL.
    [[nodiscard]] bool canMatch() const;

    /// The group graph pattern that binds `?n` to a name and holds for the names that match.
    [[nodiscard]] QString sparqlCondition() const;

private:
    QByteArray pattern;
};

}  // namespace pelorinnews
