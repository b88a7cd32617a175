#include "CacheTesting.h"
#include "SpecialFile.h"
#include "TestMain.h"
#include "feed/LocalCacheFile.h"

#include <QTemporaryDir>

#include <atomic>
#include <cstdio>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace pelorinnews;
using namespace pelorinnews::test;

class LocalCacheFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(_folder.isValid()); }
    void cleanup() {
        QFile::remove(path());
        QDir().rmdir(path());
    }

    void holdsAMarkAndTheTextInHostOrder() {
        QVERIFY(write(text()));
        QCOMPARE(readBytes(path()), byteOrderMark() + utf16Bytes(text()));
    }

    void givesBackWhatWasWritten_data() {
        QTest::addColumn<QString>("written");
        QTest::newRow("empty") << QString();
        QTest::newRow("a mark of its own") << QChar(QChar::ByteOrderMark) + text();
        QTest::newRow("beyond the basic plane") << QStringLiteral("a\U0001F600b");
        QTest::newRow("zeros") << QString(3, QChar(QChar::Null));
        // Wherever a chunk ends, one of these texts has a character that crosses the boundary.
        for (int shift = 0; shift < 4; ++shift)
            QTest::addRow("big, shifted by %d", shift)
                << QString(shift, QLatin1Char('x')) +
                       QStringLiteral("\U0001F600").repeated(200'000);
        QTest::newRow("big") << QString(5'000'001, QLatin1Char('x'));
    }
    void givesBackWhatWasWritten() {
        QFETCH(QString, written);
        QVERIFY(write(written));
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

    void isUnreadableBeyondTheLongestFeed_data() {
        QTest::addColumn<QString>("character");
        QTest::addColumn<int>("bytes");
        QTest::newRow("one byte") << QStringLiteral("x") << 1;
        QTest::newRow("two bytes") << QStringLiteral("\u00e4") << 2;
        QTest::newRow("three bytes") << QStringLiteral("\u4e16") << 3;
        QTest::newRow("four bytes") << QStringLiteral("\U0001F600") << 4;
    }
    void isUnreadableBeyondTheLongestFeed() {
        QFETCH(QString, character);
        QFETCH(int, bytes);
        const qint64 maxLength = LocalCacheFile::maxTextBytes / bytes;
        const QString longest = character.repeated(maxLength);
        QVERIFY(writeBytes(path(), byteOrderMark() + utf16Bytes(longest)));
        Error error;
        QVERIFY(LocalCacheFile(path()).read(&error) == longest);
        QVERIFY(writeBytes(path(), byteOrderMark() + utf16Bytes(longest + character)));
        QVERIFY(!LocalCacheFile(path()).read(&error));
        QCOMPARE(error.domain, QStringLiteral("QFileDevice"));
        QCOMPARE(error.code, int(QFileDevice::ResourceError));
    }

    void aFileFarBeyondTheLongestFeedTakesNoMemory() {
        // A sparse file: zeros that take no room on the disk.
        QVERIFY(writeBytes(path(), byteOrderMark()));
        QVERIFY(QFile::resize(path(), qint64(1) << 40));
        Error error;
        QVERIFY(!LocalCacheFile(path()).read(&error));
        QCOMPARE(error.code, int(QFileDevice::ResourceError));
    }

    void isUnreadableWhereThereIsNoFile() {
        Error error;
        QVERIFY(!LocalCacheFile(path()).read(&error));
        QCOMPARE(error.code, int(QFileDevice::OpenError));
        QVERIFY(!error.userInfo.value(Error::localizedDescriptionKey()).toString().isEmpty());
        QVERIFY(!LocalCacheFile(path()).stamp());
    }

    void whatIsNoRegularFileIsAnErrorAndStaysAsItIs_data() {
        QTest::addColumn<QString>("kind");
        const QStringList kinds = SpecialFile::kinds();
        for (const QString &kind : kinds)
            QTest::newRow(qPrintable(kind)) << kind;
    }
    void whatIsNoRegularFileIsAnErrorAndStaysAsItIs() {
        QFETCH(QString, kind);
        const SpecialFile special(kind, path());
        if (!special.whyNot().isEmpty())
            QSKIP(qPrintable(special.whyNot()));
        Error error;
        QVERIFY(!LocalCacheFile(path()).read(&error));
        QCOMPARE(error.domain, QStringLiteral("QFileDevice"));
        QCOMPARE(error.code, int(QFileDevice::OpenError));
        error = {};
        QVERIFY(!LocalCacheFile(path()).write(text().toUtf8(), &error));
        QCOMPARE(error.domain, QStringLiteral("QFileDevice"));
        QCOMPARE(error.code, int(QFileDevice::OpenError));
        QVERIFY(!LocalCacheFile(path()).stamp());
        QCOMPARE(special.harm(), QString());
    }

    void aLinkStaysALinkAndItsTargetIsReplaced_data() {
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("isThere");
        QTest::newRow("absolute") << _folder.filePath(QStringLiteral("kept")) << true;
        QTest::newRow("relative") << QStringLiteral("kept") << true;
        QTest::newRow("nothing there yet") << QStringLiteral("kept") << false;
    }
    void aLinkStaysALinkAndItsTargetIsReplaced() {
        QFETCH(QString, target);
        QFETCH(bool, isThere);
        const QString kept = _folder.filePath(QStringLiteral("kept"));
        QVERIFY(!isThere || writeBytes(kept, "earlier"));
        QVERIFY(QFile::link(target, path()));
        QVERIFY(write(text()));
        QVERIFY(QFileInfo(path()).isSymLink());
        QCOMPARE(readBytes(kept), byteOrderMark() + utf16Bytes(text()));
        const LocalCacheFile file(path());
        Error error;
        QCOMPARE(file.read(&error), std::optional(text()));
        const auto stamp = file.stamp();
        QVERIFY(stamp && file.touchIfUnchanged(*stamp));
        QVERIFY(QFile::remove(kept));
    }

    void aReadOnlyFileIsNotReplaced() {
        QVERIFY(writeBytes(path(), "theirs"));
        QCOMPARE(::chmod(path().toUtf8().constData(), S_IRUSR), 0);
        if (::access(path().toUtf8().constData(), W_OK) == 0)
            QSKIP("this user may write to any file");
        QVERIFY(!write(text()));
        QCOMPARE(readBytes(path()), QByteArray("theirs"));
    }

    void failsToBeWrittenWhereThereIsNoFolder() {
        Error error;
        const QString nowhere = _folder.filePath(QStringLiteral("none/file"));
        QVERIFY(!LocalCacheFile(nowhere).write(text().toUtf8(), &error));
        QCOMPARE(error.domain, QStringLiteral("QFileDevice"));
        QVERIFY(!error.userInfo.value(Error::localizedDescriptionKey()).toString().isEmpty());
        QVERIFY(QDir(_folder.path()).isEmpty());
    }

    void keepsTheEarlierFileWhenAWriteFailsHalfWay() {
        QVERIFY(write(text()));
        rlimit before{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
        rlimit small = before;
        small.rlim_cur = 100'000;
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
        Error error;
        const auto stamp = LocalCacheFile(path()).write(QByteArray(1'000'000, 'x'), &error);
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &before), 0);
        QVERIFY(!stamp);
        QCOMPARE(error.code, int(QFileDevice::ResourceError));
        QCOMPARE(LocalCacheFile(path()).read(&error).value_or(QString()), text());
        QCOMPARE(QDir(_folder.path()).entryList(QDir::Files).size(), 1);
    }

    void theStampOfAWriteIsTheFilesUntilSomebodyElseWrites() {
        const LocalCacheFile file(path());
        Error error;
        const auto first = file.write("one", &error);
        QVERIFY(first);
        QCOMPARE(file.stamp(), first);
        const auto second = file.write("two", &error);
        QVERIFY(second);
        QCOMPARE(file.stamp(), second);
        QVERIFY(second != first);
        QVERIFY(!file.touchIfUnchanged(*first));
        const auto touched = file.touchIfUnchanged(*second);
        QVERIFY(touched);
        QCOMPARE(file.stamp(), touched);
        QVERIFY(touched->modified >= second->modified);
    }

    void aStampIsNeverAnotherWritersWhileManyWrite() {
        // Another thread keeps replacing the file by one of another length. The inode numbers alone
        // may not tell the files apart, since a file system may reuse the number of a deleted file.
        std::atomic<bool> stop = false;
        const QByteArray ours = "ours";
        std::thread other([this, &stop] {
            const QString made = path() + QStringLiteral(".other");
            while (!stop) {
                writeBytes(made, byteOrderMark() + utf16Bytes(QStringLiteral("theirs")));
                std::rename(made.toUtf8().constData(), path().toUtf8().constData());
            }
        });
        int wrong = 0;
        for (int round = 0; round < 150; ++round) {
            Error error;
            const LocalCacheFile file(path());
            const auto stamp = file.write(ours, &error);
            const auto read = file.read(&error);
            // If the file still has the stamp of our write, the text that was read must be ours.
            if (!stamp || (file.stamp() == stamp && read != QString::fromUtf8(ours)))
                ++wrong;
        }
        stop = true;
        other.join();
        QFile::remove(path() + QStringLiteral(".other"));
        QCOMPARE(wrong, 0);
    }

    void isAbsentWithoutAPath() {
        Error error;
        QVERIFY(!LocalCacheFile(QString()).write(text().toUtf8(), &error));
        QCOMPARE(error.code, int(QFileDevice::OpenError));
        error = {};
        QVERIFY(!LocalCacheFile(QString()).read(&error));
        QCOMPARE(error.code, int(QFileDevice::OpenError));
    }

private:
    [[nodiscard]] QString path() const {
        return _folder.filePath(QStringLiteral("PelorinNews.xml"));
    }
    [[nodiscard]] bool write(const QString &written) const {
        Error error;
        return LocalCacheFile(path()).write(written.toUtf8(), &error).has_value();
    }
    static QString text() { return QStringLiteral("<rss>\u00e4\u4e16</rss>\n"); }

    QTemporaryDir _folder;
};

PELORIN_CORE_TEST_MAIN(LocalCacheFileTest)
#include "LocalCacheFileTest.moc"
