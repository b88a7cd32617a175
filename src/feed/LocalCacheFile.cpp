#include "LocalCacheFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>
#include <QtEndian>

#include <NetworkUrlLoader.h>
#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

namespace pelorinnews {

namespace {

constexpr char16_t byteOrderMark = u'\uFEFF';
constexpr char16_t swappedByteOrderMark = u'\uFFFE';
constexpr qint64 unitSize = sizeof(char16_t);
/// The mark and the longest feed that the loader delivers: a byte of UTF-8 is at most one unit.
/// Guards the memory against a stray file.
constexpr qint64 largestFile = unitSize * (NetworkUrlLoader::defaultLongestBody + 1);

Error fileError(QFileDevice::FileError code, const QString &text) {
    return {QStringLiteral("QFileDevice"), code, {{Error::localizedDescriptionKey(), text}}};
}

Error fileError(const QFileDevice &file) {
    return fileError(file.error(), file.errorString());
}

/// How many bytes are turned from UTF-8 into UTF-16 at a time.
constexpr qsizetype pieceSize = qsizetype(256) * 1024;

bool writeUnits(QFileDevice &file, QStringView text) {
    const qint64 size = text.size() * unitSize;
    return file.write(reinterpret_cast<const char *>(text.utf16()), size) == size;
}

bool writeText(QFileDevice &file, QByteArrayView utf8) {
    // A mark of the text's own is part of the text. The decoder's state carries a character that
    // two pieces share from one to the next.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    if (!writeUnits(file, QStringView(&byteOrderMark, 1)))
        return false;
    for (qsizetype at = 0; at < utf8.size(); at += pieceSize) {
        const QString piece =
            decoder.decode(utf8.sliced(at, std::min(pieceSize, utf8.size() - at)));
        if (!writeUnits(file, piece))
            return false;
    }
    return true;
}

/// Reads straight into the text's own memory: a big feed is in memory once.
std::optional<QString> readUnits(QFileDevice &file, qint64 count) {
    QString text(count, Qt::Uninitialized);
    auto *const bytes = reinterpret_cast<char *>(text.data());
    const qint64 size = count * unitSize;
    if (file.read(bytes, size) != size)
        return std::nullopt;
    return text;
}

}  // namespace

std::optional<Error> LocalCacheFile::write(QByteArrayView utf8) const {
    if (filePath.isNull())
        return fileError(QFileDevice::OpenError, QStringLiteral("There is no local cache folder"));
    QSaveFile file(filePath);
    if (!file.open(QIODevice::WriteOnly) || !writeText(file, utf8) || !file.commit())
        return fileError(file);
    return std::nullopt;
}

std::optional<LocalCacheFile::Stamp> LocalCacheFile::stamp() const {
    struct stat status {};
    if (filePath.isNull() || ::lstat(QFile::encodeName(filePath).constData(), &status) != 0 ||
        !S_ISREG(status.st_mode))
        return std::nullopt;
    const auto nanoseconds = [](const timespec &time) {
        return qint64{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
    };
    return Stamp{status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
                 nanoseconds(status.st_ctim)};
}

std::optional<LocalCacheFile::Stamp> LocalCacheFile::dateAnew(const Stamp &before) const {
    const QByteArray path = QFile::encodeName(filePath);
    if (stamp() != before ||
        ::utimensat(AT_FDCWD, path.constData(), nullptr, AT_SYMLINK_NOFOLLOW) != 0)
        return std::nullopt;
    return stamp();
}

std::optional<QString> LocalCacheFile::read(Error *error) const {
    const auto fail = [error](const Error &reason) {
        *error = reason;
        return std::nullopt;
    };
    const auto failFormat = [&fail] {
        return fail(
            fileError(QFileDevice::ReadError, QStringLiteral("The file is not UTF-16 text")));
    };
    if (filePath.isNull())
        return fail(
            fileError(QFileDevice::OpenError, QStringLiteral("There is no local cache folder")));
    const QFileInfo info(filePath);
    // Opening a pipe would wait for its other end.
    if (info.exists() && !info.isFile())
        return fail(fileError(QFileDevice::OpenError, QStringLiteral("Not a regular file")));
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return fail(fileError(file));

    const qint64 size = file.size();
    if (size > largestFile)
        return fail(
            fileError(QFileDevice::ResourceError, QStringLiteral("More than any feed holds")));
    if (size < unitSize || size % unitSize != 0)
        return failFormat();
    const std::optional<QString> mark = readUnits(file, 1);
    std::optional<QString> text = readUnits(file, size / unitSize - 1);
    if (!mark || !text)
        return fail(fileError(file));
    if (mark->front() == swappedByteOrderMark)
        qbswap<unitSize>(text->constData(), text->size(), text->data());
    else if (mark->front() != byteOrderMark)
        return failFormat();
    if (!text->isValidUtf16())
        return failFormat();
    if (text->isNull())
        *text = QStringLiteral("");
    return text;
}

}  // namespace pelorinnews
