#include "TestMain.h"

#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>

namespace pelorinnews::test {

/// Runs the host's program on a display, where xdotool presses its keys.
class HostProgramTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void helpListsTheOptions() {
        start({QStringLiteral("--help")});
        QVERIFY(_pelorin->waitForFinished(testPatience));
        QCOMPARE(_pelorin->exitCode(), 0);
        const QByteArray help = _pelorin->readAllStandardOutput();
        for (const char *option : {"--show", "--module", "--feed", "--trust", "--dark"})
            QVERIFY2(help.contains(option), option);
    }

    void anUnknownOptionIsRefused() {
        start({QStringLiteral("--nonsense")});
        QVERIFY(_pelorin->waitForFinished(testPatience));
        QCOMPARE(_pelorin->exitCode(), 1);
    }

    void aMissingModuleIsToldAndTheHostGoesOn() {
        start({QStringLiteral("--module"), QStringLiteral("/nowhere/None.so")});
        QTRY_VERIFY(errors().contains("There is no news module at /nowhere/None.so"));
        QVERIFY(!_pelorin->waitForFinished(300));
    }

    void anUnreadableAuthorityIsRefused() {
        start({QStringLiteral("--trust"), QStringLiteral("/nowhere/ca.pem")});
        QVERIFY(_pelorin->waitForFinished(testPatience));
        QCOMPARE(_pelorin->exitCode(), 2);
        QVERIFY(errors().contains("/nowhere/ca.pem"));
    }

    void theFeedOptionStaysInThePreferences() {
        start({QStringLiteral("--feed"), QStringLiteral("https://127.0.0.1:1/feed"),
               QStringLiteral("--module"), QStringLiteral("/nowhere/None.so")});
        QTRY_COMPARE(storedFeed(), QStringLiteral("https://127.0.0.1:1/feed"));
    }

    void aFileGivenAsFeedIsStoredAsItsAddress() {
        QTemporaryDir feeds;
        QFile file(feeds.filePath(QStringLiteral("a feed.xml")));
        QVERIFY(file.open(QFile::WriteOnly));
        start({QStringLiteral("--feed"), file.fileName(), QStringLiteral("--module"),
               QStringLiteral("/nowhere/None.so")});
        QTRY_COMPARE(storedFeed(),
                     QStringLiteral("file://") + feeds.path() + QStringLiteral("/a%20feed.xml"));
    }

    void thePanelIsDrivenInTheRightOrder() {
        start({QStringLiteral("--show"), QStringLiteral("--module"), recordingModule()});
        QTRY_COMPARE(recorded(),
                     QStringList({QStringLiteral("identity com.Olvane.Pelorin Olvane Pelorin"),
                                  QStringLiteral("init"), QStringLiteral("logger"),
                                  QStringLiteral("delegate"), QStringLiteral("show")}));
    }

    void thePanelIsNotShownUnasked() {
        start({QStringLiteral("--module"), recordingModule()});
        QTRY_VERIFY(recorded().contains(QStringLiteral("delegate")));
        QVERIFY(!_pelorin->waitForFinished(300));
        QVERIFY(!recorded().contains(QStringLiteral("show")));
    }

    void newsAndQuitHaveKeysAndQuittingStopsThePanelFirst() {
        start({QStringLiteral("--module"), recordingModule()});
        QTRY_VERIFY(recorded().contains(QStringLiteral("delegate")));
        press("ctrl+n");
        QTRY_COMPARE(recorded().last(), QStringLiteral("show"));
        press("ctrl+q");
        QVERIFY(_pelorin->waitForFinished(testPatience));
        QCOMPARE(_pelorin->exitStatus(), QProcess::NormalExit);
        QCOMPARE(_pelorin->exitCode(), 0);
        QCOMPARE(recorded().mid(5),
                 QStringList({QStringLiteral("exit"), QStringLiteral("released")}));
    }

    void whatThePanelLogsOnAThreadOfItsOwnDoesNoHarm() {
        start({QStringLiteral("--module"), recordingModule()});
        QTRY_VERIFY(recorded().contains(QStringLiteral("delegate")));
        QVERIFY(!_pelorin->waitForFinished(300));
        QVERIFY2(errors().isEmpty(), _errorText.constData());
    }

    void cleanup() {
        _pelorin->kill();
        _pelorin->waitForFinished(testPatience);
        _pelorin.reset();
    }

private:
    void start(const QStringList &arguments) {
        _folder = std::make_unique<QTemporaryDir>();
        qputenv("PELORIN_RECORD", _folder->filePath(QStringLiteral("record")).toUtf8());
        _errorText.clear();
        _pelorin = std::make_unique<QProcess>();
        _pelorin->start(QStringLiteral(PELORIN_APP_DIR "/bin/pelorin"), arguments);
        QVERIFY(_pelorin->waitForStarted(testPatience));
    }

    static QByteArray xdotool(const QStringList &arguments) {
        QProcess process;
        process.start(QStringLiteral("xdotool"), arguments);
        process.waitForFinished(testPatience);
        return process.readAllStandardOutput().trimmed();
    }

    static void press(const char *key) {
        QTRY_COMPARE(xdotool({QStringLiteral("getactivewindow"), QStringLiteral("getwindowname")}),
                     QByteArrayLiteral("Pelorin"));
        xdotool({QStringLiteral("key"), QString::fromLatin1(key)});
    }

    static QString recordingModule() {
        return QStringLiteral(PELORIN_TEST_MODULES "/RecordingNewsModule.so");
    }

    QByteArray errors() { return _errorText += _pelorin->readAllStandardError(); }

    QStringList recorded() const {
        QFile file(_folder->filePath(QStringLiteral("record")));
        if (!file.open(QFile::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    static QString storedFeed() {
        const QString file =
            QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
            QStringLiteral("/Olvane/Pelorin.conf");
        return QSettings(file, QSettings::IniFormat)
            .value(QStringLiteral("newsFeedBaseURL"))
            .toString();
    }

    std::unique_ptr<QProcess> _pelorin;
    std::unique_ptr<QTemporaryDir> _folder;
    QByteArray _errorText;
};

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::HostProgramTest)

#include "HostProgramTest.moc"
