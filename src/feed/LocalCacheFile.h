#pragma once

#include <pelorinnews/Error.h>

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace pelorinnews {

/// The file that keeps the text of the feed last downloaded: UTF-16 after a byte-order mark, in the
/// byte order of the machine that wrote it, and nothing else.
///
/// Operations may run on any thread, several at once on one file included: a reader sees one whole
/// text, of several writers the last one stays. Errors are of the domain "QFileDevice", with the
/// code of `QFileDevice::FileError` and a text for people.
class LocalCacheFile {
public:
    /// A null path is a file that can be neither written nor read.
    explicit LocalCacheFile(QString path) : filePath(std::move(path)) {}

    /// Replaces the file by the text of these bytes, which must be UTF-8, in one step: a failure
    /// leaves the earlier file as it was. Returns the failure, if any. Takes no memory to speak of.
    [[nodiscard]] std::optional<Error> write(QByteArrayView utf8) const;

    /// By what a change of the file by anybody is seen.
    struct Stamp {
        quint64 device = 0;
        quint64 number = 0;
        qint64 size = 0;
        /// Of its contents and of itself, in nanoseconds since the epoch.
        qint64 modified = 0;
        qint64 changed = 0;

        friend bool operator==(const Stamp &, const Stamp &) = default;
    };

    /// Nothing where there is no file, or something else in its place.
    [[nodiscard]] std::optional<Stamp> stamp() const;

    /// Gives the file, where it still bears `before`, the date of one that is written now, and
    /// nothing else. The stamp it bears then; nothing where it is another file, or cannot be dated.
    [[nodiscard]] std::optional<Stamp> dateAnew(const Stamp &before) const;

    /// The text of the file, not null even where it is empty, or nothing with `error` set. A file
    /// that is not whole UTF-16 is unreadable: no byte-order mark (an empty file included), an odd
    /// number of bytes, a lone surrogate. So is one larger than any feed that can be downloaded. A
    /// mark in the other byte order is honoured.
    [[nodiscard]] std::optional<QString> read(Error *error) const;

private:
    QString filePath;
};

}  // namespace pelorinnews
