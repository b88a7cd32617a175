#pragma once

#include "network/NetworkUrlLoader.h"
#include "platform/FileStamp.h"

#include "pelorinnews/Error.h"

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace pelorinnews {

/// The file that caches the text of the last downloaded feed: a byte-order mark, then UTF-16 in the
/// byte order of the machine that wrote it, and nothing else. It is a regular file, or a symbolic
/// link to one; the link stays a link.
///
/// Thread-safe, even with several operations at once on one file: a reader sees one complete text,
/// and the last of several writers wins. Errors have the domain "QFileDevice", a code from
/// `QFileDevice::FileError` and a human-readable text.
class LocalCacheFile {
public:
    using Stamp = FileStamp;

    /// The longest text that can be read, in bytes of UTF-8: no feed is longer.
    static constexpr qint64 maxTextBytes = NetworkUrlLoader::defaultMaxBody;

    /// With a null path, every read and write fails.
    explicit LocalCacheFile(QString path) : _filePath(std::move(path)) {}

    /// Atomically replaces the file with the text `utf8`, which must be valid UTF-8. Returns the
    /// stamp of the file that this call wrote, so `stamp()` differs from it once another writer has
    /// replaced the file. On failure leaves the earlier file unchanged and returns nothing, with
    /// `error` set. Converts the text in pieces, so it needs little memory.
    [[nodiscard]] std::optional<Stamp> write(QByteArrayView utf8, Error *error) const;

    /// The file's current stamp. Nothing if there is no regular file, or it may not be read.
    [[nodiscard]] std::optional<Stamp> stamp() const;

    /// Sets the modification time to now if the file still has the stamp `before`, and returns its
    /// new stamp. Nothing if the file differs or cannot be touched.
    [[nodiscard]] std::optional<Stamp> touchIfUnchanged(const Stamp &before) const;

    /// The text of the file, or nothing with `error` set. An empty text is not null. Fails for a
    /// file that is not valid UTF-16: no byte-order mark (an empty file included), an odd number of
    /// bytes, a lone surrogate. Also fails for a text longer than `maxTextBytes`. Both byte orders
    /// can be read; the byte-order mark decides.
    [[nodiscard]] std::optional<QString> read(Error *error) const;

private:
    QString _filePath;
};

}  // namespace pelorinnews
