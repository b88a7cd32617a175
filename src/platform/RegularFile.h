#pragma once

#include "FileDescriptor.h"
#include "FileStamp.h"

#include "pelorinnews/Error.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace pelorinnews {

/// A regular file, open for reading. Symbolic links to it are followed. Anything else in its place
/// (a folder, pipe, socket or device) is an error and is not even opened, since opening a pipe
/// blocks and opening a device may do anything.
///
/// Errors are those of `FileError`. Any thread, one at a time.
class RegularFile {
public:
    /// Absent, with `error` set, if there is no regular file or it may not be read.
    [[nodiscard]] static std::optional<RegularFile> open(const QString &path, Error *error);

    /// The contents of the whole file. Absent, with `error` set, on failure or if the file has more
    /// than `maxBytes` bytes.
    [[nodiscard]] static std::optional<QByteArray> contents(const QString &path, qint64 maxBytes,
                                                            Error *error);

    /// Whether `path` leads to a regular file or to nothing, so that a file may be written there.
    /// The answer holds only for the moment of the call. Meant for callers that then let other
    /// code, such as QSettings, open the file.
    [[nodiscard]] static bool isRegularOrAbsent(const QString &path);

    /// The stamp from when the file was opened or last touched.
    [[nodiscard]] const FileStamp &stamp() const { return _opened; }

    /// Reads the next `count` bytes into `to`. False, with `error` set, on failure or if there are
    /// fewer.
    bool read(char *to, qint64 count, Error *error);

    /// Sets the time of last modification to now. False if that is not permitted.
    bool touch();

private:
    RegularFile(FileDescriptor file, const FileStamp &stamp)
        : _descriptor(std::move(file)), _opened(stamp) {}

    FileDescriptor _descriptor;
    FileStamp _opened;
};

}  // namespace pelorinnews
