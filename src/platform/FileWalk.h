#pragma once

#include "FileDescriptor.h"
#include "FileNamePattern.h"

#include <QByteArray>

#include <atomic>
#include <vector>

namespace pelorinnews {

/// Reads a tree of folders once and notes the entries, of whatever kind, whose names match.
///
/// It stays on the file system it starts on, follows no symbolic link and does not look into an
/// entry that matches: what lies in an application's folder is part of that application. Folders
/// that may not be read, that go while they are read, or whose path is longer than the system
/// takes, are passed over. A folder that is moved meanwhile may be missed.
///
/// Used by one thread.
class FileWalk {
public:
    explicit FileWalk(FileNamePattern names);

    /// Walks `folder` (absolute; itself not considered), until it is done or `stop` becomes true,
    /// which takes no longer than reading some hundred entries.
    void run(const QByteArray &folder, const std::atomic<bool> &stop);

    /// The absolute paths found so far.
    [[nodiscard]] const std::vector<QByteArray> &matches() const { return found; }

    /// How many entries were read so far.
    [[nodiscard]] quint64 entryCount() const { return entries; }

private:
    [[nodiscard]] FileDescriptor openFolder(const QByteArray &relative) const;
    void readFolder(const QByteArray &relative, const std::atomic<bool> &stop);
    void readEntries(int folder, const QByteArray &prefix, qsizetype byteCount);

    FileNamePattern pattern;
    QByteArray top;                  // of the current run, with a slash at its end
    FileDescriptor topFolder;        // of the current run
    quint64 topDevice = 0;           // of the current run
    std::vector<QByteArray> unread;  // relative to `top`
    std::vector<char> buffer;
    std::vector<QByteArray> found;
    quint64 entries = 0;
};

}  // namespace pelorinnews
