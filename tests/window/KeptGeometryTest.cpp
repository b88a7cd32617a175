// The window's size and place from one run of the host to the next. Runs with two desktops: one on
// X11, and one on Wayland, which alone places the windows. Each run is a process of its own, since
// a process has only one first show.

#include "TestMain.h"
#include "WindowFixture.h"
#include "window/KeptGeometry.h"

#include <QApplication>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QScreen>
#include <QWindow>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// Environment variables of a run: its state folder, and what the user does with the window.
constexpr auto folderVariable = "PELORIN_KEPT_FOLDER";
constexpr auto actVariable = "PELORIN_KEPT_ACT";

bool isWayland() {
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

}  // namespace

class KeptGeometryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();

    void aRun();
    void fiveRunsGiveTheSameSizeAndPlace_data();
    void fiveRunsGiveTheSameSizeAndPlace();
    void theFirstShowEnlargesASmallWindow();
    void aSizeThatTheDesktopSetsIsNotKept_data();
    void aSizeThatTheDesktopSetsIsNotKept();
    void aWindowOutsideOfEveryScreenIsBroughtBack();
    void garbageIsIgnored_data();
    void garbageIsIgnored();
    void aFolderThatCannotBeWrittenKeepsNothing();
    void theWindowThatClosesLastDecides();

private:
    struct Run {
        QSize size;
        QPoint place;
    };

    /// Starts the host, lets the user do `act`, closes the window and ends the host. Returns what
    /// the window was like once it had opened and its options were folded.
    Run run(const QString &act = {}) const;
    [[nodiscard]] QString folder() const { return _temporary->filePath(QStringLiteral("state")); }
    [[nodiscard]] KeptGeometry kept() const { return KeptGeometry(folder()); }
    void store(const QByteArray &bytes) const;

    std::unique_ptr<QTemporaryDir> _temporary;
};

void KeptGeometryTest::init() {
    _temporary = std::make_unique<QTemporaryDir>();
}

void KeptGeometryTest::aRun() {
    if (!qEnvironmentVariableIsSet(folderVariable))
        return;
    WindowFixture fixture;
    fixture.services.stateFolder = qEnvironmentVariable(folderVariable);
    const auto controller = fixture.shown(WindowFixture::items(2));
    OlvNewsWindow *window = controller->window();
    const auto *area = window->findChild<QWidget *>(QStringLiteral("optionsArea"));
    QVERIFY(area);
    QTRY_VERIFY(area->isHidden());
    // The window manager answers each request for a size or a place on its own.
    const auto waitForAnswers = [] { QTest::qWait(300); };
    waitForAnswers();
    const QJsonObject seen{{QStringLiteral("width"), window->width()},
                           {QStringLiteral("height"), window->height()},
                           {QStringLiteral("x"), window->pos().x()},
                           {QStringLiteral("y"), window->pos().y()}};
    QFile result(qEnvironmentVariable(folderVariable) + QStringLiteral(".seen"));
    QVERIFY(result.open(QIODevice::WriteOnly));
    result.write(QJsonDocument(seen).toJson());

    const QString act = qEnvironmentVariable(actVariable);
    if (act == QLatin1String("resize")) {
        window->move(300, 200);
        window->resize(700, 480);
        QTRY_COMPARE(window->windowHandle()->size(), QSize(700, 480));
    } else if (act == QLatin1String("shrink")) {
        window->resize(400, 300);
        QTRY_COMPARE(window->windowHandle()->size(), QSize(400, 300));
    } else if (act == QLatin1String("move to the bottom")) {
        window->move(300, QGuiApplication::primaryScreen()->availableGeometry().bottom() + 1 -
                              window->frameGeometry().height());
    } else if (act == QLatin1String("open the options")) {
        const int height = window->height();
        controller->onOptionsButton();
        QTRY_COMPARE(controller->optionsLabel()->text(), QStringLiteral("Hide options"));
        QTRY_COMPARE(window->height(), height + 38);
    } else if (act == QLatin1String("maximize")) {
        window->showMaximized();
        QTRY_VERIFY(window->height() > 700);
    } else if (act == QLatin1String("as high as the screen")) {
        window->resize(500, QGuiApplication::primaryScreen()->size().height());
        waitForAnswers();
    }
    waitForAnswers();
    controller->exit();
    QVERIFY(!window->isVisible());
}

KeptGeometryTest::Run KeptGeometryTest::run(const QString &act) const {
    QProcess alone;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(folderVariable), folder());
    environment.insert(QLatin1String(actVariable), act);
    alone.setProcessEnvironment(environment);
    alone.setProcessChannelMode(QProcess::MergedChannels);
    alone.start(QCoreApplication::applicationFilePath(), {QStringLiteral("aRun")});
    if (!alone.waitForFinished(4 * testPatience) || alone.exitStatus() != QProcess::NormalExit ||
        alone.exitCode() != 0)
        qFatal("%s", alone.readAll().constData());
    QFile result(folder() + QStringLiteral(".seen"));
    if (!result.open(QIODevice::ReadOnly))
        qFatal("the run has told nothing");
    const QJsonObject seen = QJsonDocument::fromJson(result.readAll()).object();
    const auto value = [&seen](const char *name) { return seen[QLatin1String(name)].toInt(); };
    return {QSize(value("width"), value("height")), QPoint(value("x"), value("y"))};
}

void KeptGeometryTest::store(const QByteArray &bytes) const {
    QVERIFY(QDir().mkpath(folder()));
    QFile file(folder() + QStringLiteral("/window.json"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

void KeptGeometryTest::fiveRunsGiveTheSameSizeAndPlace_data() {
    QTest::addColumn<QString>("act");
    QTest::newRow("folded") << QString();
    QTest::newRow("with open options") << QStringLiteral("open the options");
    if (!isWayland())
        QTest::newRow("at the bottom of the screen") << QStringLiteral("move to the bottom");
}

void KeptGeometryTest::fiveRunsGiveTheSameSizeAndPlace() {
    QFETCH(const QString, act);
    const Run first = run(QStringLiteral("resize"));
    QVERIFY(first.size != QSize(700, 480));
    const Run second = run(act);
    QCOMPARE(second.size, QSize(700, 480));
    if (!isWayland())
        QCOMPARE(second.place, QPoint(300, 200));
    const Run third = run(act);
    for (int restart = 3; restart <= 5; ++restart) {
        const Run next = run(act);
        QCOMPARE(next.size, QSize(700, 480));
        if (!isWayland())
            QCOMPARE(next.place, third.place);
    }
    QCOMPARE(kept().read()->size, QSize(700, 518));
    QCOMPARE(kept().read()->place.has_value(), !isWayland());
}

void KeptGeometryTest::theFirstShowEnlargesASmallWindow() {
    const Run first = run(QStringLiteral("shrink"));
    QCOMPARE(kept().read()->size, QSize(400, 338));
    const Run second = run();
    QVERIFY(second.size.width() > 500 && second.size.width() <= 576);
    QVERIFY(first.size.width() >= second.size.width());
    QCOMPARE(run().size, second.size);
}

void KeptGeometryTest::aSizeThatTheDesktopSetsIsNotKept_data() {
    QTest::addColumn<QString>("act");
    QTest::newRow("maximized") << QStringLiteral("maximize");
    QTest::newRow("as high as the screen") << QStringLiteral("as high as the screen");
}

void KeptGeometryTest::aSizeThatTheDesktopSetsIsNotKept() {
    QFETCH(const QString, act);
    run(act);
    QVERIFY(!kept().read());
    run(QStringLiteral("resize"));
    const auto before = kept().read();
    QVERIFY(before);
    run(act);
    QCOMPARE(*kept().read(), *before);
    QCOMPARE(run().size, QSize(700, 480));
}

void KeptGeometryTest::aWindowOutsideOfEveryScreenIsBroughtBack() {
    kept().write({QSize(600, 500), QPoint(5000, -4000)});
    const Run seen = run();
    QCOMPARE(seen.size, QSize(600, 462));
    if (!isWayland()) {
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        QVERIFY(screen.contains(QRect(seen.place, seen.size)));
    }
    kept().write({QSize(9000, 500), std::nullopt});
    const QSize screen = QGuiApplication::primaryScreen()->availableSize();
    QVERIFY(run().size.width() <= screen.width());
}

void KeptGeometryTest::garbageIsIgnored_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no JSON") << QByteArray("700x480");
    QTest::newRow("cut") << QByteArray(R"({"width":700,"hei)");
    QTest::newRow("a list") << QByteArray("[700,480]");
    QTest::newRow("texts") << QByteArray(R"({"width":"700","height":"480"})");
    QTest::newRow("nothing") << QByteArray(R"({"width":0,"height":480})");
    QTest::newRow("negative") << QByteArray(R"({"width":700,"height":-480})");
    QTest::newRow("huge") << QByteArray(R"({"width":1e300,"height":480})");
    QTest::newRow("a fraction") << QByteArray(R"({"width":700.5,"height":480})");
    QTest::newRow("long") << QByteArray(R"({"width":700,"height":480})") + QByteArray(100'000, ' ');
}

void KeptGeometryTest::garbageIsIgnored() {
    QFETCH(const QByteArray, bytes);
    store(bytes);
    QVERIFY(!kept().read());
    // The next geometry replaces it.
    const KeptGeometry::Geometry next{QSize(700, 480), QPoint(-20, 30)};
    kept().write(next);
    QVERIFY(kept().read() == next);
}

void KeptGeometryTest::aFolderThatCannotBeWrittenKeepsNothing() {
    // A file where the folder should be stops the superuser, too.
    QFile file(folder());
    QVERIFY(file.open(QIODevice::WriteOnly));
    kept().write({QSize(700, 480), std::nullopt});
    QVERIFY(!kept().read());
    QCOMPARE(file.size(), 0);
    const Run first = run(QStringLiteral("resize"));
    QCOMPARE(run().size, first.size);
    KeptGeometry({}).write({QSize(700, 480), std::nullopt});
    QVERIFY(!KeptGeometry({}).read());
}

void KeptGeometryTest::theWindowThatClosesLastDecides() {
    WindowFixture fixture;
    fixture.services.stateFolder = folder();
    const auto one = fixture.shown(WindowFixture::items(2));
    const auto two = fixture.shown(WindowFixture::items(2));
    for (const auto &controller : {one, two})
        QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    one->window()->resize(650, 450);
    two->window()->resize(750, 550);
    QTRY_COMPARE(one->window()->windowHandle()->size(), QSize(650, 450));
    QTRY_COMPARE(two->window()->windowHandle()->size(), QSize(750, 550));
    two->exit();
    QCOMPARE(kept().read()->size.width(), 750);
    one->exit();
    QCOMPARE(kept().read()->size.width(), 650);
}

PELORIN_WIDGET_TEST_MAIN(KeptGeometryTest)
#include "KeptGeometryTest.moc"
