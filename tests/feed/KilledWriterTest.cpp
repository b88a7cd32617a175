#include "TestMain.h"
#include "WholeVersions.h"

#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>
#include <random>
#include <unistd.h>

using namespace pelorinnews;
using namespace pelorinnews::test;

/// Kills a process that writes all our files, at a random moment, again and again. Each file must
/// always be one whole version.
///
/// PELORIN_KILLS sets how often, PELORIN_SEED the moments.
class KilledWriterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void leavesWholeFiles();

private:
    static int number(const char *variable, int otherwise) {
        bool isSet = false;
        const int value = qEnvironmentVariableIntValue(variable, &isSet);
        return isSet ? value : otherwise;
    }
    void killOneWriter(std::chrono::microseconds after) const;
    void checkCache() const;
    void checkRegistry() const;
    void checkPreferences() const;

    QTemporaryDir _folder;
};

void KilledWriterTest::killOneWriter(std::chrono::microseconds after) const {
    QProcess writer;
    writer.start(QStringLiteral(PELORIN_WRITE_UNTIL_KILLED), {_folder.path()});
    const bool isWriting = writer.waitForReadyRead(testPatience);
    QVERIFY2(isWriting, writer.readAllStandardError().constData());
    QCOMPARE(writer.readAllStandardOutput(), QByteArray("written\n"));
    ::usleep(static_cast<useconds_t>(after.count()));
    writer.kill();
    QVERIFY(writer.waitForFinished(testPatience));
    QCOMPARE(writer.exitStatus(), QProcess::CrashExit);
}

void KilledWriterTest::checkCache() const {
    Error error;
    const auto text = LocalCacheFile(cachePath(_folder.path())).read(&error);
    QVERIFY2(text, qPrintable(error.description()));
    QVERIFY(!text->isEmpty());
    QCOMPARE(text->toUtf8(), cacheText(text->at(0).toLatin1() - 'a'));
}

void KilledWriterTest::checkRegistry() const {
    const auto contents = NotificationRegistry(_folder.path()).read();
    QVERIFY(contents);
    QCOMPARE(contents->entries.size(), size_t{keys});
    const QString title = contents->entries.front().notification.title;
    QVERIFY(std::all_of(contents->entries.begin(), contents->entries.end(),
                        [&](const auto &each) { return each.notification.title == title; }));
}

void KilledWriterTest::checkPreferences() const {
    const QSettings file(preferencesPath(_folder.path()), QSettings::IniFormat);
    QCOMPARE(file.value(QStringLiteral("host/size")).toInt(), 7);
    const QVariant version = file.value(preferenceKey(0));
    QVERIFY(version.isValid());
    for (int i = 1; i < keys; ++i)
        QCOMPARE(file.value(preferenceKey(i)), version);
}

void KilledWriterTest::leavesWholeFiles() {
    {
        QSettings file(preferencesPath(_folder.path()), QSettings::IniFormat);
        file.setValue(QStringLiteral("host/size"), 7);
    }
    std::mt19937 random(static_cast<unsigned>(number("PELORIN_SEED", 1)));
    std::uniform_int_distribution<int> moment(0, 15'000);
    const int kills = number("PELORIN_KILLS", 40);
    for (int i = 0; i < kills && !QTest::currentTestFailed(); ++i) {
        killOneWriter(std::chrono::microseconds(moment(random)));
        checkCache();
        checkRegistry();
        checkPreferences();
    }
    if (QTest::currentTestFailed())
        return;
    // None of the killed processes keeps the next one from writing.
    QVERIFY(writeCache(_folder.path(), 3));
    QVERIFY(writeRegistry(_folder.path(), 3));
    UserDefaults preferences(preferencesPath(_folder.path()));
    QVERIFY(writePreferences(preferences, 3));
    checkCache();
    checkRegistry();
    checkPreferences();
}

PELORIN_CORE_TEST_MAIN(KilledWriterTest)

#include "KilledWriterTest.moc"
