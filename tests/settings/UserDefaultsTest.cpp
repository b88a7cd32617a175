#include "SpecialFile.h"
#include "TestMain.h"
#include "platform/HostBundle.h"
#include "settings/SettingsBackup.h"
#include "settings/UserDefaults.h"
#include "settings/UserDefaultsStore.h"

#include <QFileInfo>
#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSettings>
#include <QStandardPaths>

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace pelorinnews;

namespace {

const QString key = QStringLiteral("newsFilter");

QByteArray contentsOf(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &bytes) {
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

/// With this argument, a file and a key prefix, this program writes several keys with that prefix,
/// one by one.
const QString writerArgument = QStringLiteral("--writer");
constexpr int writerRounds = 25;

int writeInRounds(const QString &path, const QString &prefix) {
    UserDefaults defaults(path);
    QSettings host(path, QSettings::IniFormat);
    for (int round = 0; round < writerRounds; ++round) {
        const QString name = prefix + QLatin1Char('_') + QString::number(round);
        if (prefix.startsWith(QLatin1String("host"))) {
            host.setValue(name, QStringLiteral("x"));
            host.sync();
        } else {
            defaults.setValue(name, QStringLiteral("x"));
            defaults.synchronize();
        }
    }
    return 0;
}

}  // namespace

class UserDefaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { _path = _folder.filePath(QString::number(++_files) + QStringLiteral("/P.conf")); }

    void whatIsSetAfterTheEventLoopIsWrittenThoughSomebodyHoldsOn_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("before the application object ends") << QStringList();
        QTest::newRow("after it has ended") << QStringList{QStringLiteral("late")};
    }

    void whatIsSetAfterTheEventLoopIsWrittenThoughSomebodyHoldsOn() {
        QFETCH(QStringList, arguments);
        const QString path =
            QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
            QStringLiteral("/Olvane/Leaving.conf");
        QFile::remove(path);
        QProcess leaving;
        leaving.start(QStringLiteral(PELORIN_SET_AND_LEAVE), arguments);
        QVERIFY(leaving.waitForFinished(testPatience));
        QCOMPARE(leaving.exitCode(), 0);
        const QSettings file(path, QSettings::IniFormat);
        QCOMPARE(file.value(QStringLiteral("newsShowOnStart")).toString(), QStringLiteral("false"));
    }

    void nothingIsWrittenBeforeAValueIsSet() {
        {
            UserDefaults defaults(_path);
            defaults.registerDefaults({{key, 3}});
            QCOMPARE(defaults.integerForKey(key), 3);
            defaults.synchronize();
        }
        QVERIFY(!QFileInfo::exists(QFileInfo(_path).path()));
    }

    void aStoredValueBeatsTheDefaultAndRemovalBringsItBack() {
        UserDefaults defaults(_path);
        defaults.registerDefaults({{key, 3}});
        defaults.setValue(key, 2);
        QCOMPARE(defaults.integerForKey(key), 2);
        defaults.removeObjectForKey(key);
        QCOMPARE(defaults.integerForKey(key), 3);
        defaults.removeObjectForKey(key);
        QCOMPARE(defaults.integerForKey(key), 3);
    }

    void aStoredValueThatDoesNotConvertBeatsTheDefaultToo() {
        UserDefaults defaults(_path);
        defaults.registerDefaults({{key, 3}});
        defaults.setValue(key, QStringLiteral("all of them"));
        QCOMPARE(defaults.integerForKey(key), 0);
    }

    void laterDefaultsReplaceEarlierOnesKeyByKey() {
        UserDefaults defaults(_path);
        defaults.registerDefaults({{"a", 1}, {"b", 1}});
        defaults.registerDefaults({{"b", 2}, {"c", 2}});
        QCOMPARE(defaults.integerForKey("a"), 1);
        QCOMPARE(defaults.integerForKey("b"), 2);
        QCOMPARE(defaults.integerForKey("c"), 2);
    }

    void defaultsNeverReachTheFile() {
        UserDefaults defaults(_path);
        defaults.registerDefaults({{"default", "memory"}});
        defaults.setValue("stored", "disk");
        defaults.synchronize();
        QVERIFY(contentsOf(_path).contains("stored=disk"));
        QVERIFY(!contentsOf(_path).contains("memory"));
    }

    void writingAnAbsentValueRemovesTheKey() {
        UserDefaults defaults(_path);
        for (const QVariant &absent : {QVariant(), QVariant(QString()), QVariant(QDateTime())}) {
            defaults.setValue(key, 2);
            defaults.setValue(key, absent);
            QVERIFY(!defaults.objectForKey(key).isValid());
        }
        defaults.setValue(key, QStringLiteral(""));
        QCOMPARE(defaults.objectForKey(key), QVariant(QStringLiteral("")));
    }

    void anEmptyKeyHoldsNothing() {
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
        UserDefaults defaults(_path);
        defaults.setValue(QString(), 5);
        defaults.removeObjectForKey(QString());
        QVERIFY(!defaults.objectForKey(QString()).isValid());
        QVERIFY(!QFileInfo::exists(_path));
    }

    void aMissingKeyReadsAsNoZeroAndAbsent() {
        const UserDefaults defaults(_path);
        QCOMPARE(defaults.boolForKey(key), false);
        QCOMPARE(defaults.integerForKey(key), 0);
        QVERIFY(defaults.stringForKey(key).isNull());
        QVERIFY(!defaults.dateForKey(key).isValid());
        QVERIFY(!defaults.objectForKey(key).isValid());
    }

    void theEventLoopWritesWhatWasSet() {
        UserDefaults defaults(_path);
        defaults.setValue(key, 2);
        QTRY_VERIFY(contentsOf(_path).contains("newsFilter=2"));
    }

    // The signal that comes with it ends a process that does nothing about it, as this test does
    // not.
    void survivesTheLimitOfFileSizes() {
        writeFile(_path, "[General]\ntheirs=7\n");
        rlimit before{};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
        const auto restore = qScopeGuard([&before] { ::setrlimit(RLIMIT_FSIZE, &before); });
        const rlimit small{10'000, before.rlim_max};
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
        UserDefaults defaults(_path);
        defaults.setValue(key, QString(20'000, QLatin1Char('x')));
        defaults.synchronize();
        QCOMPARE(contentsOf(_path), QByteArray("[General]\ntheirs=7\n"));
        defaults.setValue(key, 2);
        defaults.synchronize();
        QVERIFY(contentsOf(_path).contains("newsFilter=2"));
        QVERIFY(contentsOf(_path).contains("theirs=7"));
    }

    void destructionWritesWhatWasSet() {
        { UserDefaults(_path).setValue(key, 2); }
        QVERIFY(contentsOf(_path).contains("newsFilter=2"));
    }

    void aStoreThatIsWrittenIsDeleted() {
        QPointer<UserDefaultsStore> store = std::make_unique<UserDefaultsStore>(_path).release();
        store->write(key, 2);
        QVERIFY(store->flush());
        UserDefaultsStore::release(store);
        QVERIFY(!store);
        QVERIFY(contentsOf(_path).contains("newsFilter=2"));
    }

    void otherReadersInThisProcessSeeAValueAtOnce() {
        UserDefaults first(_path);
        UserDefaults second(_path);
        QSettings ofTheHost(_path, QSettings::NativeFormat);
        first.setValue(key, 2);
        QCOMPARE(second.integerForKey(key), 2);
        QCOMPARE(ofTheHost.value(key).toInt(), 2);
        ofTheHost.setValue(key, 1);
        QCOMPARE(first.integerForKey(key), 1);
    }

    void whatAnotherProcessWroteIsSeenAfterSynchronizing() {
        UserDefaults defaults(_path);
        defaults.setValue(key, 2);
        defaults.setValue("mine", "kept");
        defaults.synchronize();
        writeFile(_path, "[General]\nnewsFilter=1\ntheirs=\"a, b\"\n");
        QCOMPARE(defaults.integerForKey(key), 2);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 1);
        QCOMPARE(defaults.stringForKey("theirs"), "a, b");
    }

    void aChangeWithTheSameSizeAndTimeIsSeen() {
        const auto write = [this](int value, qint64 nanoseconds) {
            const QString other = _path + QStringLiteral(".new");
            writeFile(other, QByteArrayLiteral("[General]\nnewsFilter=") +
                                 QByteArray::number(value) + '\n');
            const struct timespec times[2] = {{0, UTIME_OMIT}, {1700000000, nanoseconds}};
            QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(other).constData(), times, 0), 0);
            QCOMPARE(
                rename(QFile::encodeName(other).constData(), QFile::encodeName(_path).constData()),
                0);
        };
        write(1, 1);
        UserDefaults defaults(_path);
        QCOMPARE(defaults.integerForKey(key), 1);
        write(2, 2);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 2);
        // At the end of a second.
        write(3, 999'999'999);
        defaults.synchronize();
        write(4, 999'999'999);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 4);
    }

    void aFileOfCommentsAndContinuedLinesIsWritten() {
        writeFile(_path, "[General]\n;newsFilter=1\nmy%20key=a\\\nb=c\n;x=2\n");
        UserDefaults defaults(_path);
        defaults.setValue(key, 5);
        defaults.synchronize();
        QVERIFY(contentsOf(_path).contains("newsFilter=5"));
    }

    /// QSettings itself may take the earlier version for the present one, for good.
    void aVersionThatComesDuringTheReadIsSeen() {
        constexpr int rounds = 60;
        for (int round = 0; round < rounds; ++round) {
            init();
            std::atomic<bool> goesOn = true;
            std::atomic<int> written = 0;
            std::thread writer([&, path = _path] {
                const QString other = path + QStringLiteral(".new");
                for (int value = 1; goesOn; ++value) {
                    writeFile(other, QByteArrayLiteral("[General]\nnewsFilter=") +
                                         QByteArray::number(value) + '\n');
                    if (rename(QFile::encodeName(other).constData(),
                               QFile::encodeName(path).constData()) != 0)
                        return;
                    written = value;
                    // A faster writer would reuse the number of an earlier file within one tick of
                    // the file system's clock, so that nothing tells the two apart.
                    std::this_thread::sleep_for(std::chrono::microseconds(300));
                }
            });
            QTRY_VERIFY(written > 0);
            UserDefaults defaults(_path);
            goesOn = false;
            writer.join();
            defaults.synchronize();
            QCOMPARE(defaults.integerForKey(key), written.load());
        }
    }

    void whatAnotherProcessWroteSurvivesOurNextWrite() {
        UserDefaults defaults(_path);
        defaults.setValue(key, 2);
        defaults.synchronize();
        writeFile(_path, "[General]\nnewsFilter=1\ntheirs=7\n");
        defaults.setValue("mine", 5);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey("theirs"), 7);
        QCOMPARE(defaults.integerForKey("mine"), 5);
        QVERIFY(contentsOf(_path).contains("theirs=7"));
    }

    void aDamagedFileKeepsWhatCanBeReadAndIsCopiedBeforeTheFirstWrite() {
        const QByteArray damaged = "[General]\nnewsFilter=2\nno equals sign here\n";
        writeFile(_path, damaged);
        {
            UserDefaults defaults(_path);
            QCOMPARE(defaults.integerForKey(key), 2);
            QVERIFY(!QFileInfo::exists(_path + ".damaged"));
            defaults.setValue("a", 1);
            defaults.setValue("b", 1);
        }
        QCOMPARE(contentsOf(_path + ".damaged"), damaged);
        QVERIFY(!QFileInfo::exists(_path + ".damaged-2"));
        QVERIFY(contentsOf(_path).contains("newsFilter=2"));

        writeFile(_path, "[General]\nsecond damage\n");
        { UserDefaults(_path).setValue("a", 2); }
        QCOMPARE(contentsOf(_path + ".damaged"), damaged);
        QCOMPARE(contentsOf(_path + ".damaged-2"), QByteArray("[General]\nsecond damage\n"));
    }

    void aDamagedFileThatIsGoneNeedsNoCopy() {
        writeFile(_path, "[General]\nnewsFilter=2\nno equals sign here\n");
        UserDefaults defaults(_path);
        QCOMPARE(defaults.integerForKey(key), 2);
        QVERIFY(QFile::remove(_path));
        defaults.setValue("a", 1);
        defaults.synchronize();
        QVERIFY(contentsOf(_path).contains("a=1"));
        QVERIFY(!QFileInfo::exists(_path + ".damaged"));
    }

    void afterNineCopiesOfDamagedFilesTheNextIsRewrittenWithoutOne() {
        const QByteArray damaged = "[General]\nno equals sign\n";
        for (int number = 1; number <= 10; ++number) {
            writeFile(_path, damaged);
            UserDefaults(_path).setValue(key, number);
        }
        QVERIFY(contentsOf(_path).contains("newsFilter=10"));
        QCOMPARE(contentsOf(_path + ".damaged-9"), damaged);
        QCOMPARE(QFileInfo(_path).dir().entryList(QDir::Files | QDir::Hidden).size(), 10);
    }

    void aFileThatIsTooLargeIsReadButNotWritten() {
        const QByteArray large =
            "[General]\nnewsFilter=2\nhost=" + QByteArray(SettingsBackup::maxFileBytes, 'h') + '\n';
        writeFile(_path, large);
        UserDefaults defaults(_path);
        QCOMPARE(defaults.integerForKey(key), 2);
        defaults.setValue(key, 3);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 3);
        QVERIFY(contentsOf(_path) == large);
    }

    void aFileThatCannotBeReadCountsAsEmpty() {
        QVERIFY(QDir().mkpath(_path));
        UserDefaults defaults(_path);
        defaults.registerDefaults({{key, 3}});
        QCOMPARE(defaults.integerForKey(key), 3);
    }

    void aFileThatCannotBeWrittenLeavesTheValuesInMemoryUntilItCan() {
        const QString folderPath = QFileInfo(_path).path();
        writeFile(folderPath, "a file where the folder should be");
        UserDefaults defaults(_path);
        defaults.setValue(key, 2);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 2);
        QVERIFY(!QFileInfo::exists(_path));

        QVERIFY(QFile::remove(folderPath));
        defaults.synchronize();
        QVERIFY(contentsOf(_path).contains("newsFilter=2"));
    }

    void aReadOnlyFileIsLeftAloneAndTheValuesStayInMemory() {
        if (geteuid() == 0)
            QSKIP("root writes to read-only files");
        writeFile(_path, "[General]\nnewsFilter=1\n");
        QVERIFY(QFile::setPermissions(_path, QFile::ReadOwner));
        UserDefaults defaults(_path);
        defaults.setValue(key, 2);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 2);
        QCOMPARE(contentsOf(_path), QByteArray("[General]\nnewsFilter=1\n"));
    }

    void whatIsNoRegularFileIsNeitherReadNorReplaced_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("suffix");
        const QStringList kinds = pelorinnews::test::SpecialFile::kinds();
        for (const QString &suffix : {QString(), QStringLiteral(".lock")}) {
            for (const QString &kind : kinds)
                QTest::newRow(qPrintable(kind + suffix)) << kind << suffix;
        }
    }
    void whatIsNoRegularFileIsNeitherReadNorReplaced() {
        QFETCH(QString, kind);
        QFETCH(QString, suffix);
        QVERIFY(QDir().mkpath(QFileInfo(_path).path()));
        const pelorinnews::test::SpecialFile special(kind, _path + suffix);
        if (!special.whyNot().isEmpty())
            QSKIP(qPrintable(special.whyNot()));
        {
            UserDefaults defaults(_path);
            QCOMPARE(defaults.integerForKey(key), 0);
            defaults.setValue(key, 2);
            defaults.synchronize();
            QCoreApplication::processEvents();
            QCOMPARE(defaults.integerForKey(key), 2);
        }
        QCOMPARE(special.harm(), QString());
        QVERIFY(suffix.isEmpty() || !QFileInfo::exists(_path));
    }

    void whatComesInTheFilesPlaceIsNotReplaced() {
        UserDefaults defaults(_path);
        defaults.setValue(key, 2);
        defaults.synchronize();
        QVERIFY(QFile::remove(_path));
        {
            const pelorinnews::test::SpecialFile special(QStringLiteral("pipe"), _path);
            defaults.setValue(key, 1);
            QCoreApplication::processEvents();
            defaults.synchronize();
            QCOMPARE(special.harm(), QString());
        }
        defaults.synchronize();
        QVERIFY(contentsOf(_path).contains("newsFilter=1"));
    }

    void valuesThatNestTooDeepAreNeitherReadNorReplaced_data() {
        QTest::addColumn<QByteArray>("level");
        QTest::newRow("lists") << QByteArray("\\0\\0\\0\\t\\0\\0\\0\\x1");
        QTest::newRow("maps") << QByteArray("\\0\\0\\0\\b\\0\\0\\0\\x1\\0\\0\\0\\0");
        QTest::newRow("variants") << QByteArray("\\0\\0\\0)");
    }
    void valuesThatNestTooDeepAreNeitherReadNorReplaced() {
        QFETCH(QByteArray, level);
        constexpr int levels = 50'000;
        const QByteArray bytes = "[General]\nnewsFilter=3\ntheirs=@Variant(" +
                                 level.repeated(levels) + "\\0\\0\\0\\x2\\0\\0\\0\\a)\n";
        writeFile(_path, bytes);
        UserDefaults defaults(_path);
        QCOMPARE(defaults.integerForKey(key), 0);
        defaults.setValue(key, 1);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 1);
        QCOMPARE(contentsOf(_path), bytes);
    }

    void aFileWhoseValuesBeginToNestTooDeepIsLeftAlone() {
        UserDefaults defaults(_path);
        defaults.setValue(key, 2);
        defaults.synchronize();
        const QByteArray bytes =
            "[General]\ntheirs=@Variant(" + QByteArray("\\0\\0\\0)").repeated(50'000) + ")\n";
        writeFile(_path, bytes);
        defaults.synchronize();
        defaults.setValue(key, 1);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 1);
        QCOMPARE(contentsOf(_path), bytes);
    }

    void readsValuesInValues() {
        const QVariant inner = QVariantMap{{QStringLiteral("list"), QVariantList{1, 2}}};
        QVariantList many;
        for (int i = 0; i < 2000; ++i)
            many.append(inner);
        {
            QVERIFY(QDir().mkpath(QFileInfo(_path).path()));
            QSettings host(_path, QSettings::IniFormat);
            host.setValue(QStringLiteral("theirs"), many);
            host.setValue(QStringLiteral("one"), inner);
        }
        UserDefaults defaults(_path);
        QCOMPARE(defaults.objectForKey(QStringLiteral("one")), inner);
        QCOMPARE(defaults.objectForKey(QStringLiteral("theirs")).toList().size(), many.size());
    }

    void aLinkStaysALink_data() {
        QTest::addColumn<bool>("isThere");
        QTest::newRow("to a file") << true;
        QTest::newRow("to nothing yet") << false;
    }
    void aLinkStaysALink() {
        QFETCH(bool, isThere);
        const QString kept = _path + QStringLiteral(".kept");
        QVERIFY(QDir().mkpath(QFileInfo(_path).path()));
        if (isThere)
            writeFile(kept, "[General]\ntheirs=7\n");
        QVERIFY(QFile::link(kept, _path));
        UserDefaults defaults(_path);
        QCOMPARE(defaults.integerForKey("theirs"), isThere ? 7 : 0);
        for (const int value : {1, 2}) {
            defaults.setValue(key, value);
            defaults.synchronize();
            QVERIFY(contentsOf(kept).contains("newsFilter=" + QByteArray::number(value)));
            QCOMPARE(contentsOf(kept).contains("theirs=7"), isThere);
        }
        QCOMPARE(QFile::symLinkTarget(_path), kept);
        QVERIFY(!QFileInfo(kept).isSymLink());
        QCOMPARE(QDir(QFileInfo(_path).path())
                     .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
                     .size(),
                 2);
    }

    void whateverAHostKeepsInTheFileIsTakenForWhole() {
        const QStringList names{"plain",      "with space", "a=b",          "[General]",
                                "#hash",      ";semicolon", "General/x",    "general/x",
                                "a/b/c",      "%General/x", "\u00e4\u4e16", "line\nfeed",
                                "\"quoted\"", "back\\slash"};
        const QVariantList values{QStringLiteral("[text]\n;x=1\r\n"),
                                  QString(),
                                  QVariant(),
                                  QByteArray("a\0b\n", 4),
                                  QStringList{"a", "", "b\n"},
                                  QStringList(),
                                  QVariantMap{{"x", 1}},
                                  QDateTime::currentDateTime(),
                                  -1.5};
        UserDefaults defaults(_path);
        QSettings host(_path, QSettings::IniFormat);
        for (const QString &name : names) {
            for (qsizetype number = 0; number < values.size(); ++number) {
                host.setValue(name + QString::number(number), values.at(number));
                defaults.setValue(key, number);
                defaults.synchronize();
                QVERIFY(contentsOf(_path).contains("newsFilter=" + QByteArray::number(number)));
            }
        }
        QCOMPARE(host.allKeys().size(), names.size() * values.size() + 1);
    }

    void severalProcessesLoseNothingOfEachOther() {
        // Several attempts, because under load QSettings alone may lose a value between processes,
        // too: it did so in 1 of 320 runs in which the panel did not write. Without our lock every
        // attempt would lose values.
        QByteArray lost = "none tried";
        for (int attempt = 0; attempt < 3 && !lost.isEmpty(); ++attempt) {
            lost = lostBetweenProcesses();
            if (!lost.isEmpty())
                qWarning("attempt %d lost %s", attempt, lost.constData());
        }
        QCOMPARE(lost, QByteArray());
    }

    void severalThreadsReadAndWriteAtOnce() {
        UserDefaults defaults(_path);
        defaults.registerDefaults({{"shared", 1}});
        std::atomic<int> wrong = 0;
        std::vector<std::thread> threads;
        constexpr int threadCount = 3;
        constexpr int rounds = 60;
        for (int number = 0; number < threadCount; ++number) {
            threads.emplace_back([&defaults, &wrong, number] {
                const QString own = QStringLiteral("own") + QString::number(number);
                for (int round = 1; round <= rounds; ++round) {
                    defaults.setValue(own, round);
                    defaults.setValue("shared", round);
                    if (defaults.integerForKey(own) != round ||
                        defaults.integerForKey("shared") < 1)
                        ++wrong;
                    if (round % 10 == 0)
                        defaults.synchronize();
                }
            });
        }
        for (int round = 0; round < rounds; ++round)
            QCoreApplication::processEvents();
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(wrong, 0);
        defaults.synchronize();
        for (int number = 0; number < threadCount; ++number)
            QVERIFY(contentsOf(_path).contains("own" + QByteArray::number(number) + "=60\n"));
    }

    void anotherThreadMayDropTheLastReference() {
        auto defaults = std::make_shared<UserDefaults>(_path);
        defaults->setValue(key, 2);
        std::thread([last = std::move(defaults)]() mutable { last.reset(); }).join();
        QTRY_VERIFY(contentsOf(_path).contains("newsFilter=2"));
    }

    void theFileIsNamedByOrganisationAndApplication_data() {
        QTest::addColumn<HostIdentity>("stated");
        QTest::addColumn<QString>("applicationsOwn");
        QTest::addColumn<QString>("expected");
        QTest::newRow("stated") << HostIdentity{{}, "Olvane", "Pelorin"} << "Other"
                                << "Olvane/Pelorin.conf";
        QTest::newRow("organisation of the application object")
            << HostIdentity{{}, {}, "Pelorin"} << "Other"
            << "Other/Pelorin.conf";
        QTest::newRow("name of the application object") << HostIdentity{{}, "Olvane", {}} << ""
                                                        << "Olvane/test_name.conf";
        QTest::newRow("no organisation") << HostIdentity{{}, {}, "Pelorin"} << ""
                                         << "com.Olvane.Pelorin.conf";
        QTest::newRow("the folder above is no organisation")
            << HostIdentity{{}, "..", "Pelorin"} << ""
            << "com.Olvane.Pelorin.conf";
        QTest::newRow("slashes lead nowhere") << HostIdentity{{}, "../Olvane", "a/b"} << ""
                                              << ".. Olvane/a b.conf";
    }

    void theFileIsNamedByOrganisationAndApplication() {
        QFETCH(HostIdentity, stated);
        QFETCH(QString, applicationsOwn);
        QFETCH(QString, expected);
        QCoreApplication::setOrganizationName(applicationsOwn);
        QCoreApplication::setApplicationName("test_name");
        QCOMPARE(UserDefaults::filePath(stated, "com.Olvane.Pelorin"),
                 qEnvironmentVariable("XDG_CONFIG_HOME") + u'/' + expected);
        QCoreApplication::setOrganizationName({});
    }

    void theStandardPreferencesFollowTheStatedIdentity() {
        const QString folderPath = qEnvironmentVariable("XDG_CONFIG_HOME");
        HostBundle::setIdentity({"com.Olvane.Pelorin", "Olvane", "Pelorin"});
        const auto first = UserDefaults::standard();
        QCOMPARE(UserDefaults::standard(), first);
        first->setValue(key, 2);
        first->synchronize();
        QVERIFY(contentsOf(folderPath + "/Olvane/Pelorin.conf").contains("newsFilter=2"));

        HostBundle::setIdentity({"com.Olvane.Other", {}, {}});
        const auto second = UserDefaults::standard();
        second->setValue(key, 1);
        second->synchronize();
        QVERIFY(contentsOf(folderPath + "/com.Olvane.Other.conf").contains("newsFilter=1"));
        QCOMPARE(first->integerForKey(key), 2);

        HostBundle::setIdentity({"com.Olvane.Pelorin", "Olvane", "Pelorin"});
        QCOMPARE(UserDefaults::standard(), first);
        HostBundle::setIdentity({});
    }

private:
    /// Lets several processes write at once, and returns a line that is missing afterwards, or
    /// nothing.
    [[nodiscard]] QByteArray lostBetweenProcesses() const {
        // Each process writes through the preferences, or, like a host, through its own QSettings.
        writeFile(_path, "[General]\ntheirs=7\n");
        std::vector<std::unique_ptr<QProcess>> writers;
        for (const char *const kind : {"panel1", "panel2", "host1"}) {
            writers.push_back(std::make_unique<QProcess>());
            writers.back()->setProcessChannelMode(QProcess::ForwardedErrorChannel);
            writers.back()->start(QCoreApplication::applicationFilePath(),
                                  {writerArgument, _path, QLatin1String(kind)});
        }
        for (const auto &writer : writers) {
            if (!writer->waitForFinished(testPatience) || writer->exitCode() != 0)
                return "a writer";
        }
        const QByteArray bytes = contentsOf(_path);
        QList<QByteArray> lines{"theirs=7\n"};
        for (const char *const kind : {"panel1", "panel2", "host1"}) {
            for (int round = 0; round < writerRounds; ++round)
                lines.append(QByteArray(kind) + "_" + QByteArray::number(round) + "=x\n");
        }
        for (const QByteArray &line : lines) {
            if (!bytes.contains(line))
                return line;
        }
        const auto left = QDir(QFileInfo(_path).path()).entryList(QDir::Files | QDir::Hidden);
        return left.size() == 1 ? QByteArray() : left.join(QLatin1Char(' ')).toUtf8();
    }

    QTemporaryDir _folder;
    QString _path;
    int _files = 0;
};

int main(int argc, char *argv[]) {
    if (argc == 4 && writerArgument == QLatin1String(argv[1]))
        return writeInRounds(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]));
    const pelorinnews::test::TestHome home;
    const QCoreApplication application(argc, argv);
    UserDefaultsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "UserDefaultsTest.moc"
