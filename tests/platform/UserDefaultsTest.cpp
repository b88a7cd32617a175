#include "HostBundle.h"
#include "TestMain.h"
#include "UserDefaults.h"

#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>

#include <atomic>
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

}  // namespace

class UserDefaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { path = folder.filePath(QString::number(++files) + QStringLiteral("/P.conf")); }

    void whatIsSetAfterTheEventLoopIsWrittenThoughSomebodyHoldsOn() {
        QProcess leaving;
        leaving.start(QStringLiteral(PELORIN_SET_AND_LEAVE), QStringList());
        QVERIFY(leaving.waitForFinished());
        QCOMPARE(leaving.exitCode(), 0);
        const QSettings file(
            QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                QStringLiteral("/Olvane/Leaving.conf"),
            QSettings::IniFormat);
        QCOMPARE(file.value(QStringLiteral("newsShowOnStart")).toString(), QStringLiteral("false"));
    }

    void nothingIsWrittenBeforeAValueIsSet() {
        {
            UserDefaults defaults(path);
            defaults.registerDefaults({{key, 3}});
            QCOMPARE(defaults.integerForKey(key), 3);
            defaults.synchronize();
        }
        QVERIFY(!QFileInfo::exists(QFileInfo(path).path()));
    }

    void aStoredValueBeatsTheDefaultAndRemovalBringsItBack() {
        UserDefaults defaults(path);
        defaults.registerDefaults({{key, 3}});
        defaults.setValue(key, 2);
        QCOMPARE(defaults.integerForKey(key), 2);
        defaults.removeObjectForKey(key);
        QCOMPARE(defaults.integerForKey(key), 3);
        defaults.removeObjectForKey(key);
        QCOMPARE(defaults.integerForKey(key), 3);
    }

    void aStoredValueThatDoesNotConvertBeatsTheDefaultToo() {
        UserDefaults defaults(path);
        defaults.registerDefaults({{key, 3}});
        defaults.setValue(key, QStringLiteral("all of them"));
        QCOMPARE(defaults.integerForKey(key), 0);
    }

    void laterDefaultsReplaceEarlierOnesKeyByKey() {
        UserDefaults defaults(path);
        defaults.registerDefaults({{"a", 1}, {"b", 1}});
        defaults.registerDefaults({{"b", 2}, {"c", 2}});
        QCOMPARE(defaults.integerForKey("a"), 1);
        QCOMPARE(defaults.integerForKey("b"), 2);
        QCOMPARE(defaults.integerForKey("c"), 2);
    }

    void defaultsNeverReachTheFile() {
        UserDefaults defaults(path);
        defaults.registerDefaults({{"default", "memory"}});
        defaults.setValue("stored", "disk");
        defaults.synchronize();
        QVERIFY(contentsOf(path).contains("stored=disk"));
        QVERIFY(!contentsOf(path).contains("memory"));
    }

    void writingAnAbsentValueRemovesTheKey() {
        UserDefaults defaults(path);
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
        UserDefaults defaults(path);
        defaults.setValue(QString(), 5);
        defaults.removeObjectForKey(QString());
        QVERIFY(!defaults.objectForKey(QString()).isValid());
        QVERIFY(!QFileInfo::exists(path));
    }

    void aMissingKeyReadsAsNoZeroAndAbsent() {
        const UserDefaults defaults(path);
        QCOMPARE(defaults.boolForKey(key), false);
        QCOMPARE(defaults.integerForKey(key), 0);
        QVERIFY(defaults.stringForKey(key).isNull());
        QVERIFY(!defaults.dateForKey(key).isValid());
        QVERIFY(!defaults.objectForKey(key).isValid());
    }

    void theEventLoopWritesWhatWasSet() {
        UserDefaults defaults(path);
        defaults.setValue(key, 2);
        QTRY_VERIFY(contentsOf(path).contains("newsFilter=2"));
    }

    void destructionWritesWhatWasSet() {
        { UserDefaults(path).setValue(key, 2); }
        QVERIFY(contentsOf(path).contains("newsFilter=2"));
    }

    void otherReadersInThisProcessSeeAValueAtOnce() {
        UserDefaults first(path);
        UserDefaults second(path);
        QSettings ofTheHost(path, QSettings::NativeFormat);
        first.setValue(key, 2);
        QCOMPARE(second.integerForKey(key), 2);
        QCOMPARE(ofTheHost.value(key).toInt(), 2);
        ofTheHost.setValue(key, 1);
        QCOMPARE(first.integerForKey(key), 1);
    }

    void whatAnotherProcessWroteIsSeenAfterSynchronizing() {
        UserDefaults defaults(path);
        defaults.setValue(key, 2);
        defaults.setValue("mine", "kept");
        defaults.synchronize();
        writeFile(path, "[General]\nnewsFilter=1\ntheirs=\"a, b\"\n");
        QCOMPARE(defaults.integerForKey(key), 2);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 1);
        QCOMPARE(defaults.stringForKey("theirs"), "a, b");
    }

    void whatAnotherProcessWroteSurvivesOurNextWrite() {
        UserDefaults defaults(path);
        defaults.setValue(key, 2);
        defaults.synchronize();
        writeFile(path, "[General]\nnewsFilter=1\ntheirs=7\n");
        defaults.setValue("mine", 5);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey("theirs"), 7);
        QCOMPARE(defaults.integerForKey("mine"), 5);
        QVERIFY(contentsOf(path).contains("theirs=7"));
    }

    void aDamagedFileKeepsWhatCanBeReadAndIsCopiedBeforeTheFirstWrite() {
        const QByteArray damaged = "[General]\nnewsFilter=2\nno equals sign here\n";
        writeFile(path, damaged);
        {
            UserDefaults defaults(path);
            QCOMPARE(defaults.integerForKey(key), 2);
            QVERIFY(!QFileInfo::exists(path + ".damaged"));
            defaults.setValue("a", 1);
            defaults.setValue("b", 1);
        }
        QCOMPARE(contentsOf(path + ".damaged"), damaged);
        QVERIFY(!QFileInfo::exists(path + ".damaged-2"));
        QVERIFY(contentsOf(path).contains("newsFilter=2"));

        writeFile(path, "[General]\nsecond damage\n");
        { UserDefaults(path).setValue("a", 2); }
        QCOMPARE(contentsOf(path + ".damaged"), damaged);
        QCOMPARE(contentsOf(path + ".damaged-2"), QByteArray("[General]\nsecond damage\n"));
    }

    void aFileThatCannotBeReadCountsAsEmpty() {
        QVERIFY(QDir().mkpath(path));
        UserDefaults defaults(path);
        defaults.registerDefaults({{key, 3}});
        QCOMPARE(defaults.integerForKey(key), 3);
    }

    void aFileThatCannotBeWrittenLeavesTheValuesInMemoryUntilItCan() {
        const QString folderPath = QFileInfo(path).path();
        writeFile(folderPath, "a file where the folder should be");
        UserDefaults defaults(path);
        defaults.setValue(key, 2);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 2);
        QVERIFY(!QFileInfo::exists(path));

        QVERIFY(QFile::remove(folderPath));
        defaults.synchronize();
        QVERIFY(contentsOf(path).contains("newsFilter=2"));
    }

    void aReadOnlyFileIsLeftAloneAndTheValuesStayInMemory() {
        if (geteuid() == 0)
            QSKIP("root writes to read-only files");
        writeFile(path, "[General]\nnewsFilter=1\n");
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner));
        UserDefaults defaults(path);
        defaults.setValue(key, 2);
        defaults.synchronize();
        QCOMPARE(defaults.integerForKey(key), 2);
        QCOMPARE(contentsOf(path), QByteArray("[General]\nnewsFilter=1\n"));
    }

    void severalThreadsReadAndWriteAtOnce() {
        UserDefaults defaults(path);
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
            QVERIFY(contentsOf(path).contains("own" + QByteArray::number(number) + "=60\n"));
    }

    void anotherThreadMayDropTheLastReference() {
        auto defaults = std::make_shared<UserDefaults>(path);
        defaults->setValue(key, 2);
        std::thread([last = std::move(defaults)]() mutable { last.reset(); }).join();
        QTRY_VERIFY(contentsOf(path).contains("newsFilter=2"));
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
    QTemporaryDir folder;
    QString path;
    int files = 0;
};

PELORIN_CORE_TEST_MAIN(UserDefaultsTest)
#include "UserDefaultsTest.moc"
