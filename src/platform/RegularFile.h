#pragma once

#include "FileDescriptor.h"
#include "FileStamp.h"

#include <pelorinnews/Error.h>

#include <QByteArray>
#include <QString>

#include <optional>

namespace pelorinnews {

/// A file that is open for reading and is a regular one. Symbolic links to it are followed.
/// Anything else in its place (a folder, pipe, socket or device) is an error and is not even
/// opened, since opening a pipe blocks and opening a device may do anything.
///
/// Errors are those of `FileError`. Any thread, one at a time.
class RegularFile {
public:
    /// Absent, with `error` set, where there is no regular file or it may not be read.
    [[nodiscard]] static std::optional<RegularFile> open(const QString &path, Error *error);

    /// The whole file, or nothing with `error` set. So is a file of more than `longest` bytes.
    [[nodiscard]] static std::optional<QByteArray> contents(const QString &path, qint64 longest,
                                                            Error *error);

    /// Whether a regular file is at the end of `path`, or nothing: where a file of ours may be
    /// written. Looks at the name only; for what opens files by itself.
    [[nodiscard]] static bool isRegularOrAbsent(const QString &path);

    /// As it was when it was opened, or last touched.
    [[nodiscard]] const FileStamp &stamp() const { return opened; }

    /// Reads the next `count` bytes to `to`. False, with `error` set, where there are fewer.
    bool read(char *to, qint64 count, Error *error);

    /// Sets the time of last modification to now. False where that is not permitted.
    bool touch();

private:
    RegularFile(FileDescriptor file, const FileStamp &stamp)
        : descriptor(std::move(file)), opened(stamp) {}

    FileDescriptor descriptor;
    FileStamp opened;
};

}  // namespace pelorinnews
