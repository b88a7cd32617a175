#pragma once

#include "FileNamePattern.h"

#include <QByteArray>

#include <string_view>

namespace pelorinnews {

/// What a metadata query searches for: file-system entries, by their whole name and their kind.
///
/// A launcher never matches, whatever its name: a symbolic link or a desktop file starts a copy
/// that is elsewhere. A plain value.
class EntryPattern {
public:
    enum class Kind {
        Any,     ///< files and folders; the contents of a matching folder belong to that match
        Program  ///< executable files except scripts; a folder never matches
    };

    /// A pattern that no entry satisfies.
    EntryPattern() = default;

    // Implicit: a name alone is a complete pattern.
    EntryPattern(FileNamePattern names, Kind kind = Kind::Any);

    [[nodiscard]] const FileNamePattern &names() const { return _pattern; }
    [[nodiscard]] Kind kind() const { return _wanted; }

    /// Whether an entry may match, judged by its folder's listing alone.
    [[nodiscard]] bool mayMatch(std::string_view name, bool isFolder) const;

    /// Whether the entry at `path` (absolute) matches. Reads the disk.
    [[nodiscard]] bool matches(const QByteArray &path) const;

private:
    FileNamePattern _pattern;
    Kind _wanted = Kind::Any;
};

}  // namespace pelorinnews
