#include "TestMain.h"
#include "WatchedQuery.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <array>
#include <csignal>
#include <functional>
#include <memory>
#include <unistd.h>

namespace pelorinnews::test {

namespace {

const QString service = QStringLiteral("org.freedesktop.LocalSearch3");
const QString endpoint = QStringLiteral("/org/freedesktop/Tracker3/Endpoint");
const QString interface = QStringLiteral("org.freedesktop.Tracker3.Endpoint");

QByteArray row(const QByteArray &text, qint32 columns = 1, qint32 extraLength = 0) {
    const std::array<qint32, 3> header = {columns, 1,
                                          static_cast<qint32>(text.size()) + extraLength};
    QByteArray bytes(reinterpret_cast<const char *>(header.data()), sizeof header);
    return bytes + text + '\0';
}

/// Makes the index's rows, once it is known which folder is searched.
using Rows = std::function<QByteArray(const QByteArray &folder)>;

}  // namespace

/// A file index that answers as no real one does. It writes its rows on a thread of its own.
class LyingIndex final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Tracker3.Endpoint")

public:
    enum class Manner { Answers, Refuses, SaysNothing, WritesWithoutEnd, ClosesAtOnce };

    ~LyingIndex() override {
        for (const auto &writer : _writers)
            writer->wait();
    }

    Manner manner = Manner::Answers;
    QByteArray rows;
    int queries = 0;

public Q_SLOTS:
    Q_SCRIPTABLE QStringList Query(const QString &, const QDBusUnixFileDescriptor &output,
                                   const QVariantMap &) {
        ++queries;
        switch (manner) {
            case Manner::Refuses:
                sendErrorReply(QDBusError::Failed, QStringLiteral("No"));
                break;
            case Manner::SaysNothing:
                // Neither a reply nor the end of the rows.
                setDelayedReply(true);
                _kept.append(output);
                break;
            case Manner::ClosesAtOnce:
                break;
            case Manner::Answers:
            case Manner::WritesWithoutEnd:
                write(output, manner == Manner::WritesWithoutEnd);
                break;
        }
        return {QStringLiteral("u")};
    }

private:
    void write(const QDBusUnixFileDescriptor &output, bool endlessly) {
        _writers.push_back(
            std::unique_ptr<QThread>(QThread::create([output, endlessly, bytes = rows] {
                do {
                    const char *next = bytes.constData();
                    const char *const end = next + bytes.size();
                    while (next < end) {
                        const ssize_t size =
                            ::write(output.fileDescriptor(), next, static_cast<size_t>(end - next));
                        if (size < 0)
                            return;
                        next += size;
                    }
                } while (endlessly);
            })));
        _writers.back()->start();
    }

    std::vector<std::unique_ptr<QThread>> _writers;
    QList<QDBusUnixFileDescriptor> _kept;
};

/// Whatever the index says: the query ends, and has the one copy that there is.
class LyingIndexTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { ::signal(SIGPIPE, SIG_IGN); }
    void init();
    void cleanup();

    void findsWhatIsThere_data();
    void findsWhatIsThere();
    void asksRarelyHoweverOftenTheIndexChanges();
    void hearsOfACopyThatOnlyTheIndexKnows();

private:
    [[nodiscard]] QString at(const QString &path) const {
        return QFileInfo(_folder->path()).canonicalFilePath() + u'/' + path;
    }
    [[nodiscard]] QString copy() const { return at(QStringLiteral("a/Pelorin.app")); }

    std::unique_ptr<QTemporaryDir> _folder;
    std::unique_ptr<LyingIndex> _index;
};

void LyingIndexTest::init() {
    _folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkpath(copy()));
    _index = std::make_unique<LyingIndex>();
    QDBusConnection bus = QDBusConnection::sessionBus();
    QVERIFY(bus.registerObject(endpoint, _index.get(), QDBusConnection::ExportScriptableSlots));
    QVERIFY(bus.registerService(service));
}

void LyingIndexTest::cleanup() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterService(service);
    bus.unregisterObject(endpoint);
    _index.reset();
    _folder.reset();
}

void LyingIndexTest::findsWhatIsThere_data() {
    using Manner = LyingIndex::Manner;
    QTest::addColumn<Manner>("manner");
    QTest::addColumn<Rows>("rows");
    const auto says = [](const char *name, const Rows &rows, Manner manner = Manner::Answers) {
        QTest::newRow(name) << manner << rows;
    };
    // Each path is below the folder that is searched.
    const auto paths = [](const QByteArrayList &all, int times = 1) -> Rows {
        return [all, times](const QByteArray &folder) {
            QByteArray rows;
            for (const QByteArray &path : all)
                rows += row("file://" + folder + path);
            return rows.repeated(times);
        };
    };
    const auto only = [](const QByteArray &rows) -> Rows {
        return [rows](const QByteArray &) { return rows; };
    };
    says("nothing", only({}));
    says("the truth", paths({"/a/Pelorin.app"}));
    says("the truth, many times", paths({"/a/Pelorin.app"}, 10'000));
    QByteArrayList missing;
    for (int i = 0; i < 10'000; ++i)
        missing.append('/' + QByteArray::number(i) + "/Pelorin.app");
    says("what is not there", paths(missing));
    says("the same by other names",
         paths({"/a/../a/Pelorin.app", "/a/./Pelorin.app", "//a//Pelorin.app/",
                "/loop/a/Pelorin.app", "/loop/loop/loop/a/Pelorin.app", "/link"}));
    says("files with other names", paths({"/a", "/a/Pelorin.app/x", "", "/"}));
    says("files elsewhere", only(row("file:///") + row("file:///etc/passwd") +
                                 row("file:///dev/zero") + row("file:///proc/self")));
    says("no files",
         only(row("http://h/Pelorin.app") + row("file:Pelorin.app") + row("file://h/Pelorin.app") +
              row("Pelorin.app") + row("file://") + row({})));
    says("bytes", paths({QByteArray("/\0/Pelorin.app", 14), "/%00/Pelorin.app",
                         "/%/%2/%ZZ/Pelorin.app", "/\xFF/Pelorin.app"}));
    says("a path without end", paths({QByteArray("/x").repeated(500'000)}));
    says("two columns", only(row("file:///x", 2)));
    says("a row beyond its end", only(row("file:///x", 1, 0x7000'0000)));
    says("a row of negative length", only(row("file:///x", 1, -100)));
    says("half a row", only(row("file:///x").chopped(5)));
    says("an error", only({}), Manner::Refuses);
    says("no word", only({}), Manner::SaysNothing);
    says("no end", paths({"/x"}), Manner::WritesWithoutEnd);
    says("an end at once", only({}), Manner::ClosesAtOnce);
}

void LyingIndexTest::findsWhatIsThere() {
    QFETCH(const LyingIndex::Manner, manner);
    QFETCH(const Rows, rows);
    QVERIFY(QFile::link(at({}), at(QStringLiteral("loop"))));
    QVERIFY(QFile::link(copy(), at(QStringLiteral("link"))));
    _index->manner = manner;
    _index->rows = rows(at({}).chopped(1).toUtf8());
    WatchedQuery watched(QStringLiteral("Pelorin.app"), {_folder->path()});
    QVERIFY(watched.query.startQuery());
    QTRY_COMPARE(watched.gathered, 1);
    QCOMPARE(watched.query.results(), QStringList{copy()});
    QVERIFY(_index->queries > 0);
}

void LyingIndexTest::asksRarelyHoweverOftenTheIndexChanges() {
    WatchedQuery watched(QStringLiteral("Pelorin.app"), {_folder->path()});
    QVERIFY(watched.query.startQuery());
    QTRY_COMPARE(watched.gathered, 1);
    const int before = _index->queries;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 5000; ++i)
        QDBusConnection::sessionBus().send(
            QDBusMessage::createSignal(endpoint, interface, QStringLiteral("GraphUpdated")));
    QTRY_VERIFY(_index->queries > before);
    QTest::qWait(600);
    // At most one each 250 ms.
    QVERIFY2(_index->queries - before <= 2 + timer.elapsed() / 250,
             qPrintable(QString::number(_index->queries - before)));
    QCOMPARE(watched.query.results(), QStringList{copy()});
}

void LyingIndexTest::hearsOfACopyThatOnlyTheIndexKnows() {
    WatchedQuery watched(QStringLiteral("Pelorin.app"), {_folder->path()});
    QVERIFY(watched.query.startQuery());
    QTRY_COMPARE(watched.gathered, 1);
    // Deeper than what the query watches by itself.
    const QString other = at(QStringLiteral("b/c/d/e/Pelorin.app"));
    QVERIFY(QDir().mkpath(other));
    _index->rows = row("file://" + QFile::encodeName(other));
    QDBusConnection::sessionBus().send(
        QDBusMessage::createSignal(endpoint, interface, QStringLiteral("GraphUpdated")));
    QTRY_COMPARE(watched.query.results(), (QStringList{copy(), other}));
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::LyingIndexTest)
#include "LyingIndexTest.moc"
