#pragma once

#include "FileNamePattern.h"

#include <QByteArray>

#include <string_view>

namespace pelorinnews {

/// What a metadata query looks for: file-system entries, by their whole name and by what they are.
///
/// A launcher is never a match, whatever its name: neither a symbolic link nor a desktop file,
/// which start a copy that lies elsewhere. A plain value.
class EntryPattern {
public:
    enum class Kind {
        any,     ///< files and folders; what lies in a folder that matches is part of it
        program  ///< executable files that are no scripts; folders of the name are just folders
    };

    /// A pattern that no entry satisfies.
    EntryPattern() = default;

    // Implicit: a name alone says what to look for, too.
    EntryPattern(FileNamePattern names, Kind kind = Kind::any);

    [[nodiscard]] const FileNamePattern &names() const { return pattern; }
    [[nodiscard]] Kind kind() const { return wanted; }

    /// Whether an entry may match, by what the listing of its folder tells.
    [[nodiscard]] bool mayMatch(std::string_view name, bool isFolder) const;

    /// Whether the entry at `path` (absolute) matches. Reads the disk.
    [[nodiscard]] bool matches(const QByteArray &path) const;

private:
    FileNamePattern pattern;
    Kind wanted = Kind::any;
};

}  // namespace pelorinnews
