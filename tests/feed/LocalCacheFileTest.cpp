#include "CacheTesting.h"
#include "LocalCacheFile.h"
#include "NetworkUrlLoader.h"
#include "TestMain.h"

#include <QTemporaryDir>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace pelorinnews;
using namespace pelorinnews::test;

class LocalCacheFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(folder.isValid()); }
    void cleanup() {
        QFile::remove(path());
        QDir().rmdir(path());
    }

    void holdsAMarkAndTheTextInHostOrder() {
        QVERIFY(!LocalCacheFile(path()).write(text().toUtf8()));
        QCOMPARE(readBytes(path()), byteOrderMark() + utf16Bytes(text()));
    }

    void givesBackWhatWasWritten_data() {
        QTest::addColumn<QString>("written");
        QTest::newRow("empty") << QString();
        QTest::newRow("a mark of its own") << QChar(QChar::ByteOrderMark) + text();
        QTest::newRow("beyond the basic plane") << QStringLiteral("a\U0001F600b");
        QTest::newRow("zeros") << QString(3, QChar(QChar::Null));
        // Wherever a piece ends, it ends within a character in one of these.
        for (int shift = 0; shift < 4; ++shift)
            QTest::addRow("big, shifted by %d", shift)
                << QString(shift, QLatin1Char('x')) +
                       QStringLiteral("\U0001F600").repeated(200'000);
        QTest::newRow("big") << QString(5'000'001, QLatin1Char('x'));
    }
    void givesBackWhatWasWritten() {
        QFETCH(QString, written);
        QVERIFY(!LocalCacheFile(path()).write(written.toUtf8()));
        Error error;
        const auto read = LocalCacheFile(path()).read(&error);
        QVERIFY(read);
        QVERIFY(!read->isNull());
        QCOMPARE(*read, written);
    }

    void readsTheOtherByteOrder() {
        QByteArray bytes = byteOrderMark() + utf16Bytes(text());
        for (qsizetype at = 0; at + 1 < bytes.size(); at += 2)
            std::swap(bytes[at], bytes[at + 1]);
        QVERIFY(writeBytes(path(), bytes));
        Error error;
        QCOMPARE(LocalCacheFile(path()).read(&error).value_or(QString()), text());
    }

    void isUnreadableUnlessWholeUtf16_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("no mark") << utf16Bytes(text());
        QTest::newRow("half a mark") << byteOrderMark().left(1);
        QTest::newRow("odd length") << byteOrderMark() + utf16Bytes(text()).chopped(1);
        QTest::newRow("lone high surrogate")
            << byteOrderMark() + utf16Bytes(QStringLiteral("a") + QChar(0xD83D));
        QTest::newRow("lone low surrogate")
            << byteOrderMark() + utf16Bytes(QChar(0xDE00) + QStringLiteral("a"));
        QTest::newRow("UTF-8") << QByteArray("<rss><language>en</language></rss>");
    }
    void isUnreadableUnlessWholeUtf16() {
        QFETCH(QByteArray, bytes);
        QVERIFY(writeBytes(path(), bytes));
        Error error;
        QVERIFY(!LocalCacheFile(path()).read(&error));
        QCOMPARE(error.domain, QStringLiteral("QFileDevice"));
        QVERIFY(error.description().contains(QStringLiteral("not UTF-16")));
    }

    void isUnreadableBeyondTheLongestFeed() {
        // Whole UTF-16 of nothing but zeros, which take no room on the disk.
        QVERIFY(writeBytes(path(), byteOrderMark()));
        QVERIFY(QFile::resize(path(), 2 * NetworkUrlLoader::defaultLongestBody + 4));
        Error error;
        QVERIFY(!LocalCacheFile(path()).read(&error));
        QCOMPARE(error.domain, QStringLiteral("QFileDevice"));
        QCOMPARE(error.code, int(QFileDevice::ResourceError));
    }

    void isUnreadableWhereThereIsNoRegularFile() {
        Error error;
        QVERIFY(!LocalCacheFile(path()).read(&error));
        QCOMPARE(error.code, int(QFileDevice::OpenError));
        QVERIFY(!error.userInfo.value(Error::localizedDescriptionKey()).toString().isEmpty());

        QVERIFY(QDir().mkdir(path()));
        QVERIFY(!LocalCacheFile(path()).read(&error));
        QVERIFY(QDir().rmdir(path()));

        // Nobody writes into this pipe: opening it would never return.
        QCOMPARE(mkfifo(path().toUtf8().constData(), 0600), 0);
        QVERIFY(!LocalCacheFile(path()).read(&error));
    }

    void failsToBeWrittenWhereItCannotBe() {
        QVERIFY(QDir().mkdir(path()));
        auto error = LocalCacheFile(path()).write(text().toUtf8());
        QVERIFY(error);
        QCOMPARE(error->domain, QStringLiteral("QFileDevice"));
        QVERIFY(!error->userInfo.value(Error::localizedDescriptionKey()).toString().isEmpty());
        QVERIFY(QDir().rmdir(path()));

        error = LocalCacheFile(folder.filePath(QStringLiteral("none/file"))).write(text().toUtf8());
        QVERIFY(error);
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void keepsTheEarlierFileWhenTheDiskIsFull() {
        QVERIFY(!LocalCacheFile(path()).write(text().toUtf8()));
        // A limit on the size of files fails a write half-way, as a full disk does.
        static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
        rlimit before{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
        rlimit small = before;
        small.rlim_cur = 100'000;
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
        const auto error = LocalCacheFile(path()).write(QByteArray(1'000'000, 'x'));
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &before), 0);
        QVERIFY(error);
        Error unused;
        QCOMPARE(LocalCacheFile(path()).read(&unused).value_or(QString()), text());
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 1);
    }

    void isAbsentWithoutAPath() {
        QVERIFY(LocalCacheFile(QString()).write(text().toUtf8()));
        Error error;
        QVERIFY(!LocalCacheFile(QString()).read(&error));
        QCOMPARE(error.code, int(QFileDevice::OpenError));
    }

private:
    [[nodiscard]] QString path() const {
        return folder.filePath(QStringLiteral("PelorinNews.xml"));
    }
    static QString text() { return QStringLiteral("<rss>\u00e4\u4e16</rss>\n"); }

    QTemporaryDir folder;
};

PELORIN_CORE_TEST_MAIN(LocalCacheFileTest)
#include "LocalCacheFileTest.moc"
