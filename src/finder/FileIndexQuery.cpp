#include "FileIndexQuery.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusUnixFileDescriptor>
#include <QSocketNotifier>
#include <QStringList>

#include <array>
#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace pelorinnews {

namespace {

// Debounce: minimum time from the start of one query to the start of the next.
constexpr int pauseMilliseconds = 250;
// Bytes. No sane number of matches needs more; a longer reply counts as empty.
constexpr qsizetype rowsLimit = qsizetype{16} * 1024 * 1024;

/// The bus names that the index has had, newest first.
const QStringList &services() {
    static const QStringList names = {QStringLiteral("org.freedesktop.LocalSearch3"),
                                      QStringLiteral("org.freedesktop.Tracker3.Miner.Files")};
    return names;
}

const QString endpointPath = QStringLiteral("/org/freedesktop/Tracker3/Endpoint");
const QString endpointInterface = QStringLiteral("org.freedesktop.Tracker3.Endpoint");

QString uniqueConnectionName() {
    static std::atomic<unsigned> counter = 0;
    return QStringLiteral("pelorinnews-file-index-%1").arg(++counter);
}

}  // namespace

FileIndexQuery::FileIndexQuery(FileNamePattern names, Answer taker)
    : pattern(std::move(names)),
      answer(std::move(taker)),
      connectionName(uniqueConnectionName()),
      bus(QString()) {
    patience.setSingleShot(true);
    patience.callOnTimeout(this, [this] { finish({}); });
    pause.setSingleShot(true);
    pause.callOnTimeout(this, [this] { ask(); });
}

FileIndexQuery::~FileIndexQuery() {
    bus = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(connectionName);
}

void FileIndexQuery::start() {
    // Own connection: if this thread opened the shared one, the main thread could block on it too.
    bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName);
    if (!bus.isConnected()) {
        finish({});
        return;
    }
    auto *watcher = new QDBusServiceWatcher(this);
    watcher->setConnection(bus);
    for (const QString &service : services()) {
        watcher->addWatchedService(service);
        bus.connect(service, endpointPath, endpointInterface, QStringLiteral("GraphUpdated"), this,
                    SLOT(filesChanged()));
    }
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &FileIndexQuery::filesChanged);
    ask();
}

void FileIndexQuery::filesChanged() {
    if (isAsking) {
        mustAskAgain = true;
        return;
    }
    const qint64 left = pauseMilliseconds - (lastAsked.isValid() ? lastAsked.elapsed() : 0);
    if (left <= 0)
        ask();
    else if (!pause.isActive())
        pause.start(static_cast<int>(left));
}

void FileIndexQuery::ask() {
    isAsking = true;
    mustAskAgain = false;
    lastAsked.start();
    patience.start(answerMilliseconds);
    askService(0);
}

void FileIndexQuery::askService(qsizetype number) {
    std::array<int, 2> ends{};
    if (number >= services().size() || ::pipe2(ends.data(), O_CLOEXEC) != 0) {
        finish({});
        return;
    }
    rowsEnd = FileDescriptor(ends[0]);
    ::fcntl(rowsEnd.get(), F_SETFL, O_NONBLOCK);
    QDBusUnixFileDescriptor writeEnd;
    writeEnd.giveFileDescriptor(ends[1]);
    auto message = QDBusMessage::createMethodCall(services().at(number), endpointPath,
                                                  endpointInterface, QStringLiteral("Query"));
    message.setAutoStartService(false);
    message << QStringLiteral("SELECT DISTINCT ?u { ?f a nfo:FileDataObject ; nie:url ?u . ") +
                   pattern.sparqlCondition() + QStringLiteral(" }")
            << QVariant::fromValue(writeEnd) << QVariantMap();
    auto *call = new QDBusPendingCallWatcher(bus.asyncCall(message, answerMilliseconds), this);
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [this, number, question = ++questions](QDBusPendingCallWatcher *done) {
                // The call holds our copy of the pipe's write end. End of file comes only after
                // that is closed.
                done->deleteLater();
                // Drop stale replies: a later query may be running by now.
                if (question == questions)
                    replied(number, *done);
            });
    rows.clear();
    rowsArrived = std::make_unique<QSocketNotifier>(rowsEnd.get(), QSocketNotifier::Read);
    connect(rowsArrived.get(), &QSocketNotifier::activated, this, [this] { readRows(); });
}

void FileIndexQuery::replied(qsizetype service, const QDBusPendingCallWatcher &call) {
    if (call.isError() && isAsking)
        askService(service + 1);
}

void FileIndexQuery::readRows() {
    std::array<char, 16384> piece;
    const ssize_t size = ::read(rowsEnd.get(), piece.data(), piece.size());
    if (size > 0)
        rows.append(piece.data(), size);
    else if (size == 0)
        finish(parseRows(rows));
    if (rows.size() > rowsLimit)
        finish({});
}

void FileIndexQuery::finish(const std::vector<QByteArray> &paths) {
    isAsking = false;
    patience.stop();
    if (rowsArrived) {
        rowsArrived->setEnabled(false);
        rowsArrived.release()->deleteLater();
    }
    rowsEnd = FileDescriptor();
    rows.clear();
    answer(paths);
    if (mustAskAgain)
        filesChanged();
}

std::vector<QByteArray> FileIndexQuery::parseRows(const QByteArray &stream) {
    // Row layout: column count; type and end offset per column; then the texts, each
    // NUL-terminated.
    constexpr qsizetype headerSize = 3 * sizeof(qint32);
    const QByteArray scheme = QByteArrayLiteral("file://");
    std::vector<QByteArray> paths;
    qsizetype offset = 0;
    while (stream.size() - offset >= headerSize) {
        std::array<qint32, 3> header{};
        std::memcpy(header.data(), stream.constData() + offset, headerSize);
        const auto [columns, type, length] = header;
        offset += headerSize;
        if (columns != 1 || length < 0 || length >= stream.size() - offset)
            break;
        const QByteArray url = stream.mid(offset, length);
        offset += length + 1;
        if (url.startsWith(scheme + '/'))
            paths.push_back(QByteArray::fromPercentEncoding(url.mid(scheme.size())));
    }
    return paths;
}

}  // namespace pelorinnews
