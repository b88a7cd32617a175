#pragma once

#include "FileDescriptor.h"
#include "FileStamp.h"

#include <pelorinnews/Error.h>

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace pelorinnews {

/// Replaces a file by new contents in one step, or leaves it as it was: what is written goes into a
/// temporary file beside it, which takes its name once every byte is known to be on the disk.
///
/// Symbolic links are followed: the link stays and what it leads to is replaced, or made where
/// nothing is there yet. A target that is not a regular file, or may not be written, is an error
/// and stays untouched. A replaced file keeps its permissions.
///
/// Errors are those of `FileError`; after the first one nothing more is written. Several may
/// replace one file at once, the last one stays. Any thread, one at a time. Waits for the disk.
class FileReplacement {
public:
    explicit FileReplacement(const QString &path);
    FileReplacement(const FileReplacement &) = delete;
    FileReplacement &operator=(const FileReplacement &) = delete;
    /// Without `commit`, the file stays as it was.
    ~FileReplacement();

    /// Replaces the file at `to` by a copy of the one at `from`, which has at most `longest` bytes,
    /// permissions included. False where that failed.
    [[nodiscard]] static bool copy(const QString &from, const QString &to, qint64 longest);

    /// Gives the new file these permissions, whatever those of the earlier one.
    void setPermissions(mode_t permissions);

    /// False where there is no room for `size` bytes beside the file that is to be replaced.
    bool reserve(qint64 size);

    bool write(QByteArrayView bytes);

    /// Puts the new contents in place. The stamp that the file bears then as long as nobody else
    /// touches it; absent where it failed.
    [[nodiscard]] std::optional<FileStamp> commit();

    /// Why something failed.
    [[nodiscard]] const std::optional<Error> &error() const { return problem; }

private:
    bool fail(const Error &reason);
    bool checkTarget();

    QByteArray target;
    QByteArray temporary;
    FileDescriptor file;
    std::optional<Error> problem;
};

}  // namespace pelorinnews
