// The example of docs/hosting.md, built and laid out as that page says.

#include "OneItemFeed.h"
#include "Program.h"
#include "Screen.h"
#include "TestMain.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

namespace pelorinnews::test {

namespace {

void copy(const QString &from, const QString &to) {
    int failed = -1;
    QVERIFY(QDir().mkpath(QFileInfo(to).path()));
    outputOf(QStringLiteral("cp"), {QStringLiteral("-r"), from, to}, &failed);
    QCOMPARE(failed, 0);
}

}  // namespace

class ShortestHostTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void endsWhenItsOwnWindowIsClosed_data();
    void endsWhenItsOwnWindowIsClosed();
    void tellsWhyThereIsNoPanel_data();
    void tellsWhyThereIsNoPanel();

private:
    QString at(const char *path) const { return _folder->filePath(QLatin1String(path)); }
    void start(const QStringList &wrapper = {});
    QString window(const char *title) const {
        return Screen::window(_editor.processId(), QLatin1String(title));
    }

    std::unique_ptr<QTemporaryDir> _folder;
    FeedServer _server;
    QProcess _editor;
};

void ShortestHostTest::init() {
    _folder = std::make_unique<QTemporaryDir>();
    copy(QStringLiteral(PELORIN_EXAMPLE), at("bin/editor"));
}

void ShortestHostTest::cleanup() {
    if (_editor.state() != QProcess::NotRunning) {
        _editor.terminate();
        if (!_editor.waitForFinished(testPatience))
            _editor.kill();
        _editor.waitForFinished(testPatience);
    }
    _server.stop();
    _server.clearRequests();
    _folder.reset();
}

void ShortestHostTest::start(const QStringList &wrapper) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The panel stores which news was viewed, so each run gets its own user folders.
    for (const char *name : {"CONFIG", "DATA", "STATE", "CACHE"})
        environment.insert(QStringLiteral("XDG_%1_HOME").arg(QLatin1String(name)), at(name));
    _editor.setProcessEnvironment(environment);
    const QStringList command = wrapper + QStringList{at("bin/editor"), _server.feedAddress()};
    _editor.start(command.first(), command.mid(1));
    QVERIFY(_editor.waitForStarted(testPatience));
}

void ShortestHostTest::endsWhenItsOwnWindowIsClosed_data() {
    QTest::addColumn<bool>("panelIsOpen");
    QTest::addColumn<QStringList>("wrapper");
    QTest::newRow("the news window is closed") << false << QStringList();
    QTest::newRow("the news window is open") << true << QStringList();
    QTest::newRow("few descriptors")
        << true << QStringList{QStringLiteral("prlimit"), QStringLiteral("--nofile=64")};
}

void ShortestHostTest::endsWhenItsOwnWindowIsClosed() {
    QFETCH(const bool, panelIsOpen);
    QFETCH(const QStringList, wrapper);
    copy(QStringLiteral(PELORIN_APP_DIR "/lib/pelorin"), at("lib/pelorin"));
    copy(QStringLiteral(PELORIN_APP_DIR "/share/pelorin-news"), at("share/pelorin-news"));
    QVERIFY(_server.start());
    serveOneItemFeed(_server);
    start(wrapper);
    QVERIFY(_server.waitForRequests(1, std::chrono::milliseconds(testPatience)));
    // The panel opens its news window by itself.
    QTRY_VERIFY(!window("Pelorin News").isEmpty());
    Screen::press(window("Pelorin News"), QStringLiteral("Escape"));
    QTRY_VERIFY(window("Pelorin News").isEmpty());
    QTRY_VERIFY(!window("editor").isEmpty());
    QCOMPARE(_editor.state(), QProcess::Running);

    if (panelIsOpen) {
        Screen::press(window("editor"), QStringLiteral("space"));
        QTRY_VERIFY(!window("Pelorin News").isEmpty());
    }
    Screen::press(window("editor"), QStringLiteral("alt+F4"));
    QVERIFY(_editor.waitForFinished(testPatience));
    QCOMPARE(_editor.exitStatus(), QProcess::NormalExit);
    QCOMPARE(_editor.exitCode(), 0);
}

void ShortestHostTest::tellsWhyThereIsNoPanel_data() {
    QTest::addColumn<QString>("module");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("no module") << QString() << QByteArray("PelorinNews.so: ");
    QTest::newRow("no plug-in at all")
        << QStringLiteral(PELORIN_EXAMPLE) << QByteArray("PelorinNews.so: ");
    QTest::newRow("another plug-in") << QStringLiteral(PELORIN_FOREIGN_MODULE)
                                     << QByteArray("PelorinNews.so is not a news module");
    QTest::newRow("an older module")
        << QStringLiteral(PELORIN_OLDER_MODULE)
        << QByteArray("PelorinNews.so is version 0.9.0 of the news module");
    QTest::newRow("a panel that cannot be created")
        << QStringLiteral(PELORIN_FAILING_MODULE) << QByteArray("Nothing works today.");
}

void ShortestHostTest::tellsWhyThereIsNoPanel() {
    QFETCH(const QString, module);
    QFETCH(const QByteArray, reason);
    QVERIFY(QDir().mkpath(at("lib/pelorin")));
    if (!module.isEmpty())
        copy(module, at("lib/pelorin/PelorinNews.so"));
    start();
    QVERIFY(_editor.waitForFinished(testPatience));
    QCOMPARE(_editor.exitStatus(), QProcess::NormalExit);
    QCOMPARE(_editor.exitCode(), 1);
    const QByteArray told = _editor.readAllStandardError();
    QVERIFY2(told.contains(reason), told.constData());
    QCOMPARE(told.count('\n'), 1);
}

}  // namespace pelorinnews::test

PELORIN_CORE_TEST_MAIN(pelorinnews::test::ShortestHostTest)
#include "ShortestHostTest.moc"
