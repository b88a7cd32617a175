#pragma once

#include "platform/FileDescriptor.h"
#include "platform/FileNamePattern.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

class QDBusPendingCallWatcher;
class QSocketNotifier;

namespace pelorinnews {

/// Asks the desktop's file index, where one runs on the session bus, for the entries whose names
/// match, and asks again whenever the index says that its files have changed, or the index comes
/// or goes. It never starts an index.
///
/// Spoken to over the bus itself, by the protocol that the index's own library speaks: nothing
/// has to be installed or loaded for it. What it says may be out of date; the caller checks.
///
/// Belongs to one thread with an event loop, not the main one: it may wait for the bus.
class FileIndexQuery : public QObject {
    Q_OBJECT

public:
    /// An index that has not answered by then counts as one that is not there.
    static constexpr int answerMilliseconds = 5000;

    /// Takes the absolute paths that the index knows; none where it does not answer.
    using Answer = std::function<void(const std::vector<QByteArray> &paths)>;

    /// `taker` is called at least once after `start`, and once for each change.
    FileIndexQuery(FileNamePattern names, Answer taker);
    ~FileIndexQuery() override;
    FileIndexQuery(const FileIndexQuery &) = delete;
    FileIndexQuery &operator=(const FileIndexQuery &) = delete;

    void start();

    /// Reads the rows of one column that the index writes; absent rows where they are not whole.
    static std::vector<QByteArray> parseRows(const QByteArray &stream);

private:
    void ask();
    void askService(qsizetype number);
    void replied(qsizetype service, const QDBusPendingCallWatcher &call);
    void readRows();
    void finish(const std::vector<QByteArray> &paths);
    Q_SLOT void filesChanged();

    FileNamePattern pattern;
    Answer answer;
    QString connectionName;
    QDBusConnection bus;
    QTimer patience;
    QTimer pause;
    QElapsedTimer lastAsked;
    bool isAsking = false;
    quint64 questions = 0;
    bool mustAskAgain = false;
    FileDescriptor rowsEnd;
    std::unique_ptr<QSocketNotifier> rowsArrived;
    QByteArray rows;
};

}  // namespace pelorinnews
