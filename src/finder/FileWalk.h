#pragma once

#include "platform/EntryPattern.h"
#include "platform/FileDescriptor.h"

#include <QByteArray>

#include <atomic>
#include <chrono>
#include <limits>
#include <vector>

namespace pelorinnews {

/// Reads a folder tree once and records the entries that may match, judged by the folder listings
/// alone (`EntryPattern::mayMatch`).
///
/// Stays on the file system it starts on, follows no symbolic link, and does not descend into an
/// entry that matches: the contents of an application's folder are part of that application. Skips
/// folders that are unreadable, disappear during the walk, or have a path longer than the system
/// allows. May miss a folder that is moved during the walk.
///
/// Used by one thread.
class FileWalk {
public:
    /// Limits of one run, which may be exceeded by some hundred entries. Unlimited by default.
    struct Bounds {
        quint64 entries = std::numeric_limits<quint64>::max();
        std::chrono::milliseconds time = std::chrono::milliseconds::max();
    };

    explicit FileWalk(EntryPattern wanted);

    /// Walks `folder` (absolute; the folder itself is not matched) until it is done, reaches its
    /// bounds, or `stop` becomes true. Notices `stop` within some hundred entries. True if the walk
    /// is complete, or if `folder` cannot be opened.
    bool run(const QByteArray &folder, const std::atomic<bool> &stop, const Bounds &bounds);
    bool run(const QByteArray &folder, const std::atomic<bool> &stop) {
        return run(folder, stop, Bounds());
    }

    /// The absolute paths found so far.
    [[nodiscard]] const std::vector<QByteArray> &matches() const { return _found; }

    /// How many entries were read so far.
    [[nodiscard]] quint64 entryCount() const { return _entries; }

private:
    [[nodiscard]] FileDescriptor openFolder(const QByteArray &relative) const;
    template <typename MayGoOn>
    void readFolder(const QByteArray &relative, const MayGoOn &mayGoOn);
    void readEntries(int folder, const QByteArray &prefix, qsizetype byteCount);

    EntryPattern _pattern;
    QByteArray _top;                  // root folder of the current run, with a slash at its end
    FileDescriptor _topFolder;        // the folder `_top`
    quint64 _topDevice = 0;           // device number of `_top`
    std::vector<QByteArray> _unread;  // folders still to read, relative to `_top`
    std::vector<char> _buffer;
    std::vector<QByteArray> _found;
    quint64 _entries = 0;
};

}  // namespace pelorinnews
