#pragma once

#include "network/NetworkUrlLoader.h"
#include "platform/FileStamp.h"

#include <pelorinnews/Error.h>

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace pelorinnews {

/// The file that keeps the text of the feed last downloaded: UTF-16 after a byte-order mark, in the
/// byte order of the machine that wrote it, and nothing else. It is a regular file, or a symbolic
/// link to one, which stays a link.
///
/// Operations may run on any thread, several at once on one file included: a reader sees one whole
/// text, of several writers the last one stays. Errors are of the domain "QFileDevice", with the
/// code of `QFileDevice::FileError` and a text for people.
class LocalCacheFile {
public:
    using Stamp = FileStamp;

    /// The longest text that can be read, in bytes of UTF-8: no feed is longer.
    static constexpr qint64 longestText = NetworkUrlLoader::defaultLongestBody;

    /// A null path is a file that can be neither written nor read.
    explicit LocalCacheFile(QString path) : filePath(std::move(path)) {}

    /// Replaces the file by the text of these bytes, which must be UTF-8, in one step, and returns
    /// the stamp of exactly this text: it is not the file's any more once another writer came. A
    /// failure leaves the earlier file as it was and returns nothing, with `error` set. Takes no
    /// memory to speak of.
    [[nodiscard]] std::optional<Stamp> write(QByteArrayView utf8, Error *error) const;

    /// Nothing where there is no regular file, or it may not be read.
    [[nodiscard]] std::optional<Stamp> stamp() const;

    /// Sets the time of last modification to now where the file is still `before`, and returns its
    /// new stamp; nothing where it is another file, or cannot be touched.
    [[nodiscard]] std::optional<Stamp> touchIfUnchanged(const Stamp &before) const;

    /// The text of the file, not null even where it is empty, or nothing with `error` set. A file
    /// that is not whole UTF-16 is unreadable: no byte-order mark (an empty file included), an odd
    /// number of bytes, a lone surrogate. So is one whose text is longer than `longestText`. A mark
    /// in the other byte order is honoured.
    [[nodiscard]] std::optional<QString> read(Error *error) const;

private:
    QString filePath;
};

}  // namespace pelorinnews
