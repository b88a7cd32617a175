#include "FileIndexQuery.h"

#include "platform/BusProbe.h"

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
constexpr std::chrono::milliseconds queryInterval{250};
// Bytes. No sane number of matches needs more; a longer reply counts as empty.
constexpr qsizetype maxRowBytes = qsizetype{16} * 1024 * 1024;

/// The index's well-known bus names: the present one, then the former one.
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
    : _pattern(std::move(names)),
      _answer(std::move(taker)),
      _connectionName(uniqueConnectionName()),
      _bus(QString()) {
    _timeoutTimer.setSingleShot(true);
    _timeoutTimer.callOnTimeout(this, [this] { finish({}); });
    _debounceTimer.setSingleShot(true);
    _debounceTimer.callOnTimeout(this, [this] { ask(); });
}

FileIndexQuery::~FileIndexQuery() {
    _bus = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(_connectionName);
}

void FileIndexQuery::start() {
    if (!busAnswers()) {
        finish({});
        return;
    }
    // Use a private connection: while this thread opens the shared one, the main thread would have
    // to wait for it.
    _bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, _connectionName);
    if (!_bus.isConnected()) {
        finish({});
        return;
    }
    auto *watcher = new QDBusServiceWatcher(this);
    watcher->setConnection(_bus);
    for (const QString &service : services())
        watcher->addWatchedService(service);
    // No sender in the match rule: Qt would block on the bus to resolve its name, and Qt 6.4 ends
    // the process if the bus has gone by then. The slot checks the sender.
    _bus.connect(QString(), endpointPath, endpointInterface, QStringLiteral("GraphUpdated"), this,
                 SLOT(graphUpdated(QDBusMessage)));
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &FileIndexQuery::filesChanged);
    ask();
}

void FileIndexQuery::graphUpdated(const QDBusMessage &signal) {
    // Other programs have endpoints of their own at the same path.
    if (_indexOwner.isEmpty() || signal.service() == _indexOwner)
        filesChanged();
}

void FileIndexQuery::filesChanged() {
    if (_isAsking) {
        _mustAskAgain = true;
        return;
    }
    const std::chrono::milliseconds left =
        queryInterval - std::chrono::milliseconds(_lastAsked.isValid() ? _lastAsked.elapsed() : 0);
    if (left <= left.zero())
        ask();
    else if (!_debounceTimer.isActive())
        _debounceTimer.start(left);
}

void FileIndexQuery::ask() {
    _isAsking = true;
    _mustAskAgain = false;
    _lastAsked.start();
    _timeoutTimer.start(queryTimeout);
    askService(0);
}

void FileIndexQuery::askService(qsizetype number) {
    std::array<int, 2> ends{};
    if (number >= services().size() || ::pipe2(ends.data(), O_CLOEXEC) != 0) {
        finish({});
        return;
    }
    _rowsEnd = FileDescriptor(ends[0]);
    ::fcntl(_rowsEnd.get(), F_SETFL, O_NONBLOCK);
    QDBusUnixFileDescriptor writeEnd;
    writeEnd.giveFileDescriptor(ends[1]);
    auto message = QDBusMessage::createMethodCall(services().at(number), endpointPath,
                                                  endpointInterface, QStringLiteral("Query"));
    message.setAutoStartService(false);
    message << QStringLiteral("SELECT DISTINCT ?u { ?f a nfo:FileDataObject ; nie:url ?u . ") +
                   _pattern.sparqlCondition() + QStringLiteral(" }")
            << QVariant::fromValue(writeEnd) << QVariantMap();
    auto *call = new QDBusPendingCallWatcher(
        _bus.asyncCall(message, static_cast<int>(queryTimeout.count())), this);
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [this, number, question = ++_queryGeneration](QDBusPendingCallWatcher *done) {
                // Deleting the watcher closes our copy of the pipe's write end, which the call
                // holds. Until then, the read end does not report end of file.
                done->deleteLater();
                // Drop stale replies: a later query may be running by now.
                if (question == _queryGeneration)
                    replied(number, *done);
            });
    _rows.clear();
    _rowsArrived = std::make_unique<QSocketNotifier>(_rowsEnd.get(), QSocketNotifier::Read);
    connect(_rowsArrived.get(), &QSocketNotifier::activated, this, [this] { readRows(); });
}

void FileIndexQuery::replied(qsizetype service, const QDBusPendingCallWatcher &call) {
    _indexOwner = call.isError() ? QString() : call.reply().service();
    if (call.isError() && _isAsking)
        askService(service + 1);
}

void FileIndexQuery::readRows() {
    std::array<char, 16384> piece;
    const ssize_t size = ::read(_rowsEnd.get(), piece.data(), piece.size());
    if (size > 0)
        _rows.append(piece.data(), size);
    else if (size == 0)
        finish(parseRows(_rows));
    if (_rows.size() > maxRowBytes)
        finish({});
}

void FileIndexQuery::finish(const std::vector<QByteArray> &paths) {
    _isAsking = false;
    _timeoutTimer.stop();
    if (_rowsArrived) {
        _rowsArrived->setEnabled(false);
        _rowsArrived.release()->deleteLater();
    }
    _rowsEnd = FileDescriptor();
    _rows.clear();
    _answer(paths);
    if (_mustAskAgain)
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
