#include "SettingsBackup.h"

#include "platform/FileLock.h"
#include "platform/FilePaths.h"
#include "platform/FileReplacement.h"
#include "platform/RegularFile.h"
#include "platform/TemporaryNames.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace pelorinnews {

namespace {

/// Bytes that QSettings needs besides the file itself: a block for its lock file.
constexpr qint64 lockFileBytes = 4096;
/// How long a restore waits for the file's lock. QSettings never holds it longer.
constexpr std::chrono::seconds lockTimeout{1};

/// Absent if there is no file, or it cannot be read.
std::optional<QByteArray> contentsOf(const QString &path) {
    Error unused;
    return RegularFile::contents(path, SettingsBackup::maxFileBytes, &unused);
}

/// Whether nothing exists at `path`, as opposed to something that cannot be accessed.
bool isAbsent(const QString &path) {
    struct stat status {};
    return ::stat(QFile::encodeName(path).constData(), &status) != 0 &&
           (errno == ENOENT || errno == ENOTDIR);
}

/// Whether `bytes` hold at least `keys` keys as QSettings writes them: a line for each, and a line
/// feed at the end of each. False for a file that was truncated anywhere.
bool isWhole(const QByteArray &bytes, qsizetype keys) {
    const QList<QByteArray> lines = bytes.split('\n');
    const auto count = std::count_if(lines.begin(), lines.end(), [](const QByteArray &line) {
        return !line.isEmpty() && !line.startsWith('[');
    });
    return lines.last().isEmpty() && count >= keys;
}

}  // namespace

SettingsBackup::SettingsBackup(const QString &filePath)
    : _path(filePath),
      _target(FilePaths::endOfLinks(QFile::encodeName(filePath))),
      _earlier(contentsOf(filePath)),
      _wasAbsent(!_earlier && isAbsent(filePath)) {
    if (!_earlier)
        return;
    const QByteArray name = TemporaryNames::beside(_target);
    if (::link(_target.constData(), name.constData()) == 0 ||
        FileReplacement::copy(_path, QFile::decodeName(name), maxFileBytes))
        _kept = name;
}

SettingsBackup::~SettingsBackup() {
    if (!_kept.isEmpty())
        ::unlink(_kept.constData());
}

bool SettingsBackup::hasRoomFor(qint64 added) const {
    return FileReplacement(_path).reserve(_earlier.value_or(QByteArray()).size() + added +
                                          lockFileBytes);
}

SettingsBackup::Outcome SettingsBackup::check(qsizetype keys) {
    const auto now = contentsOf(_path);
    if (now ? isWhole(*now, keys) : keys == 0)
        return Outcome::Whole;
    if (now == _earlier || !isKept())
        return Outcome::Untouched;
    // The lock keeps other processes from writing. If the lock file does not fit on the disk,
    // restore without the lock: other processes cannot create one either, and so do not write.
    const FileLock lock(_path + QStringLiteral(".lock"), lockTimeout);
    if (isWhole(contentsOf(_path).value_or(QByteArray()), keys))
        return Outcome::Whole;
    return restore() ? Outcome::Restored : Outcome::Untouched;
}

bool SettingsBackup::restore() {
    if (_wasAbsent)
        return ::unlink(_target.constData()) == 0;
    return std::rename(_kept.constData(), _target.constData()) == 0;
}

}  // namespace pelorinnews
