#pragma once

#include "platform/FileDescriptor.h"
#include "platform/FileNamePattern.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

class QDBusMessage;
class QDBusPendingCallWatcher;
class QSocketNotifier;

namespace pelorinnews {

/// Queries the desktop's file index (LocalSearch, formerly Tracker) on the session bus for files
/// and folders whose names match a pattern. Repeats the query whenever the index reports changed
/// files, starts or stops. Never makes the bus start the index.
///
/// Speaks the D-Bus protocol of the index's client library itself, so that library need not be
/// installed or loaded. Results may be stale: the caller checks them.
///
/// Belongs to one thread with an event loop, but not to the main thread: it may block on the bus.
class FileIndexQuery : public QObject {
    Q_OBJECT

public:
    /// Timeout of one query. After the timeout, the index counts as absent.
    static constexpr std::chrono::milliseconds queryTimeout{5000};

    /// Receives the absolute paths that the index knows; empty if no index replies.
    using Answer = std::function<void(const std::vector<QByteArray> &paths)>;

    /// `taker` is called at least once after `start`, and again after changes. Changes in quick
    /// succession are debounced into one call.
    FileIndexQuery(FileNamePattern names, Answer taker);
    ~FileIndexQuery() override;
    FileIndexQuery(const FileIndexQuery &) = delete;
    FileIndexQuery &operator=(const FileIndexQuery &) = delete;

    void start();

    /// Parses the single-column rows that the index writes and returns the paths of their "file:"
    /// URLs. Stops at the first malformed or incomplete row.
    static std::vector<QByteArray> parseRows(const QByteArray &stream);

private:
    void ask();
    void askService(qsizetype number);
    void replied(qsizetype service, const QDBusPendingCallWatcher &call);
    void readRows();
    void finish(const std::vector<QByteArray> &paths);
    Q_SLOT void filesChanged();
    Q_SLOT void graphUpdated(const QDBusMessage &signal);

    FileNamePattern _pattern;
    Answer _answer;
    QString _connectionName;
    QDBusConnection _bus;
    QTimer _timeoutTimer;
    QTimer _debounceTimer;
    QElapsedTimer _lastAsked;
    /// The unique name of the index that replied last; empty if none did.
    QString _indexOwner;
    bool _isAsking = false;
    quint64 _queryGeneration = 0;
    bool _mustAskAgain = false;
    FileDescriptor _rowsEnd;
    std::unique_ptr<QSocketNotifier> _rowsArrived;
    QByteArray _rows;
};

}  // namespace pelorinnews
