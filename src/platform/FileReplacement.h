#pragma once

#include "FileDescriptor.h"
#include "FileStamp.h"

#include "pelorinnews/Error.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace pelorinnews {

/// Replaces the contents of a file atomically, or leaves it unchanged: writes to a temporary file
/// beside it, and renames that to the name of the file once every byte is known to be on the disk.
///
/// Follows symbolic links: the link stays, and its target is replaced, or created if it does not
/// exist. A target that is not a regular file, or may not be written, is an error and stays
/// untouched. A replaced file keeps its permissions.
///
/// Errors are those of `FileError`; after the first one nothing more is written. If several writers
/// replace one file at once, the last one wins. Any thread, one at a time. Blocks on the disk.
class FileReplacement {
public:
    explicit FileReplacement(const QString &path);
    FileReplacement(const FileReplacement &) = delete;
    FileReplacement &operator=(const FileReplacement &) = delete;
    /// Without `commit`, the file stays as it was.
    ~FileReplacement();

    /// Replaces the file at `to` by a copy of the file at `from`, permissions included. False if
    /// that fails, or if `from` has more than `maxBytes` bytes.
    [[nodiscard]] static bool copy(const QString &from, const QString &to, qint64 maxBytes);

    /// Gives the new file these permissions, instead of those of the earlier file.
    void setPermissions(mode_t permissions);

    /// Allocates `size` bytes for the new file, while the earlier file still exists. False if the
    /// disk has no room for them.
    bool reserve(qint64 size);

    bool write(QByteArrayView bytes);

    /// Puts the new contents in place. Returns the file's stamp, which is valid until another
    /// writer changes the file; absent on failure.
    [[nodiscard]] std::optional<FileStamp> commit();

    /// The first error, if there was one.
    [[nodiscard]] const std::optional<Error> &error() const { return _problem; }

private:
    bool fail(const Error &reason);
    bool checkTarget();

    QByteArray _target;
    QByteArray _temporary;
    FileDescriptor _file;
    std::optional<Error> _problem;
};

}  // namespace pelorinnews
