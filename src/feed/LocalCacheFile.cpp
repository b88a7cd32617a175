#include "LocalCacheFile.h"

#include "platform/FileError.h"
#include "platform/FileReplacement.h"
#include "platform/RegularFile.h"

#include <QStringDecoder>
#include <QtEndian>

#include <algorithm>

namespace pelorinnews {

namespace {

constexpr char16_t byteOrderMark = u'\uFEFF';
constexpr char16_t swappedByteOrderMark = u'\uFFFE';
constexpr qint64 unitSize = sizeof(char16_t);
/// Size of the longest file, in bytes: a byte-order mark and `maxTextBytes` ASCII characters, which
/// double in size in UTF-16. Other texts grow less.
constexpr qint64 maxFileBytes = unitSize * (LocalCacheFile::maxTextBytes + 1);

Error noPath() {
    return FileError::make(QFileDevice::OpenError,
                           QStringLiteral("There is no local cache folder"));
}

/// How many bytes are converted from UTF-8 to UTF-16 at a time.
constexpr qsizetype pieceSize = qsizetype(256) * 1024;

bool writeUnits(FileReplacement &file, QStringView text) {
    return file.write({reinterpret_cast<const char *>(text.utf16()), text.size() * unitSize});
}

// Writes no more after a failed write; `FileReplacement::commit` then reports the failure.
void writeText(FileReplacement &file, QByteArrayView utf8) {
    // A byte-order mark inside the text is part of the text. The decoder is stateful, because a
    // character may be split between two pieces.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    bool written = writeUnits(file, QStringView(&byteOrderMark, 1));
    for (qsizetype at = 0; written && at < utf8.size(); at += pieceSize) {
        const QString piece =
            decoder.decode(utf8.sliced(at, std::min(pieceSize, utf8.size() - at)));
        written = writeUnits(file, piece);
    }
}

/// Reads directly into the string's buffer, so that a big feed is in memory only once.
std::optional<QString> readUnits(RegularFile &file, qint64 count, Error *error) {
    QString text(count, Qt::Uninitialized);
    if (!file.read(reinterpret_cast<char *>(text.data()), count * unitSize, error))
        return std::nullopt;
    return text;
}

/// How many bytes of UTF-8 a valid text takes.
qint64 utf8Size(QStringView text) {
    qint64 size = 0;
    for (const QChar unit : text) {
        // A surrogate pair takes four bytes, so each half counts two.
        const qint64 ofUnit = unit < u'\u0080' ? 1 : unit < u'\u0800' || unit.isSurrogate() ? 2 : 3;
        size += ofUnit;
    }
    return size;
}

}  // namespace

std::optional<LocalCacheFile::Stamp> LocalCacheFile::write(QByteArrayView utf8,
                                                           Error *error) const {
    if (_filePath.isNull()) {
        *error = noPath();
        return std::nullopt;
    }
    FileReplacement file(_filePath);
    writeText(file, utf8);
    const auto stamp = file.commit();
    if (!stamp)
        *error = file.error().value_or(Error());
    return stamp;
}

std::optional<LocalCacheFile::Stamp> LocalCacheFile::stamp() const {
    Error unused;
    const auto file = RegularFile::open(_filePath, &unused);
    return file ? std::optional(file->stamp()) : std::nullopt;
}

std::optional<LocalCacheFile::Stamp> LocalCacheFile::touchIfUnchanged(const Stamp &before) const {
    Error unused;
    auto file = RegularFile::open(_filePath, &unused);
    if (!file || file->stamp() != before || !file->touch())
        return std::nullopt;
    return file->stamp();
}

std::optional<QString> LocalCacheFile::read(Error *error) const {
    const auto fail = [error](const Error &reason) {
        *error = reason;
        return std::nullopt;
    };
    const auto failFormat = [&fail] {
        return fail(
            FileError::make(QFileDevice::ReadError, QStringLiteral("The file is not UTF-16 text")));
    };
    const auto failLength = [&fail] {
        return fail(FileError::make(QFileDevice::ResourceError,
                                    QStringLiteral("The file is longer than any feed")));
    };
    if (_filePath.isNull())
        return fail(noPath());
    auto file = RegularFile::open(_filePath, error);
    if (!file)
        return std::nullopt;
    const qint64 size = file->stamp().size;
    if (size > maxFileBytes)
        return failLength();
    if (size < unitSize || size % unitSize != 0)
        return failFormat();
    const std::optional<QString> mark = readUnits(*file, 1, error);
    if (!mark)
        return std::nullopt;
    std::optional<QString> text = readUnits(*file, size / unitSize - 1, error);
    if (!text)
        return std::nullopt;
    if (mark->front() == swappedByteOrderMark)
        qbswap<unitSize>(text->constData(), text->size(), text->data());
    else if (mark->front() != byteOrderMark)
        return failFormat();
    if (!text->isValidUtf16())
        return failFormat();
    if (utf8Size(*text) > maxTextBytes)
        return failLength();
    if (text->isNull())
        *text = QStringLiteral("");
    return text;
}

}  // namespace pelorinnews
