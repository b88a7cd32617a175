#pragma once

#include "platform/EntryPattern.h"
#include "platform/FileDescriptor.h"

#include <QByteArray>

#include <atomic>
#include <chrono>
#include <limits>
#include <vector>

namespace pelorinnews {

/// Reads a tree of folders once and notes the entries that may match, by what the folders tell.
///
/// It stays on the file system it starts on, follows no symbolic link and does not look into an
/// entry that matches: what lies in an application's folder is part of that application. Folders
/// that may not be read, that go while they are read, or whose path is longer than the system
/// takes, are passed over. A folder that is moved meanwhile may be missed.
///
/// Used by one thread.
class FileWalk {
public:
    /// How much one run reads at most, give or take some hundred entries. Without limit unless set.
    struct Bounds {
        quint64 entries = std::numeric_limits<quint64>::max();
        std::chrono::milliseconds time = std::chrono::milliseconds::max();
    };

    explicit FileWalk(EntryPattern wanted);

    /// Walks `folder` (absolute; itself not considered), until it is done, it has reached its
    /// bounds or `stop` becomes true, which takes no longer than reading some hundred entries.
    /// True where it was done.
    bool run(const QByteArray &folder, const std::atomic<bool> &stop, const Bounds &bounds);
    bool run(const QByteArray &folder, const std::atomic<bool> &stop) {
        return run(folder, stop, Bounds());
    }

    /// The absolute paths found so far.
    [[nodiscard]] const std::vector<QByteArray> &matches() const { return found; }

    /// How many entries were read so far.
    [[nodiscard]] quint64 entryCount() const { return entries; }

private:
    [[nodiscard]] FileDescriptor openFolder(const QByteArray &relative) const;
    template <typename MayGoOn>
    void readFolder(const QByteArray &relative, const MayGoOn &mayGoOn);
    void readEntries(int folder, const QByteArray &prefix, qsizetype byteCount);

    EntryPattern pattern;
    QByteArray top;                  // of the current run, with a slash at its end
    FileDescriptor topFolder;        // of the current run
    quint64 topDevice = 0;           // of the current run
    std::vector<QByteArray> unread;  // relative to `top`
    std::vector<char> buffer;
    std::vector<QByteArray> found;
    quint64 entries = 0;
};

}  // namespace pelorinnews
