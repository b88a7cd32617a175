#include "SettingsBackup.h"

#include "platform/FilePaths.h"
#include "platform/FileReplacement.h"
#include "platform/RegularFile.h"
#include "platform/TemporaryNames.h"

#include <QFile>
#include <QLockFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace pelorinnews {

namespace {

/// Bytes that QSettings needs besides the file itself: a block for its lock file.
constexpr qint64 besides = 4096;
/// How long a restore waits for the file's lock, in milliseconds. QSettings never holds it longer.
constexpr int longestWait = 1000;

QString lockPath(const QString &path) {
    return path + QStringLiteral(".lock");
}

/// Absent if there is no file, or none that can be read.
std::optional<QByteArray> contentsOf(const QString &path) {
    Error unused;
    return RegularFile::contents(path, SettingsBackup::largestFile, &unused);
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
    if (bytes.isEmpty())
        return keys == 0;
    const QList<QByteArray> lines = bytes.split('\n');
    const auto count = std::count_if(lines.begin(), lines.end(), [](const QByteArray &line) {
        return !line.isEmpty() && !line.startsWith('[');
    });
    return lines.last().isEmpty() && count >= keys;
}

}  // namespace

SettingsBackup::SettingsBackup(const QString &filePath)
    : path(filePath),
      target(FilePaths::endOfLinks(QFile::encodeName(filePath))),
      earlier(contentsOf(filePath)),
      wasAbsent(!earlier && isAbsent(filePath)) {
    if (!earlier)
        return;
    const QByteArray name = TemporaryNames::beside(target);
    if (::link(target.constData(), name.constData()) == 0 ||
        FileReplacement::copy(path, QFile::decodeName(name), largestFile))
        kept = name;
}

SettingsBackup::~SettingsBackup() {
    if (!kept.isEmpty())
        ::unlink(kept.constData());
}

bool SettingsBackup::hasRoomFor(qint64 added) const {
    return FileReplacement(path).reserve(earlier.value_or(QByteArray()).size() + added + besides);
}

SettingsBackup::Outcome SettingsBackup::check(qsizetype keys) {
    const auto now = contentsOf(path);
    if (now ? isWhole(*now, keys) : keys == 0)
        return Outcome::Whole;
    if (now == earlier || !isKept())
        return Outcome::Untouched;
    // The lock keeps other processes from writing. On a disk without room for the lock file, they
    // cannot write either.
    QLockFile lock(lockPath(path));
    static_cast<void>(lock.tryLock(longestWait));
    if (isWhole(contentsOf(path).value_or(QByteArray()), keys))
        return Outcome::Whole;
    restore();
    return Outcome::Restored;
}

void SettingsBackup::restore() {
    if (wasAbsent)
        ::unlink(target.constData());
    else if (!kept.isEmpty() && std::rename(kept.constData(), target.constData()) == 0)
        kept.clear();
}

}  // namespace pelorinnews
