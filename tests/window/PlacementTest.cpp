// Where the window is placed on the desktop: fully visible when it opens, and afterwards wherever
// the user moves it. Needs a display whose screens can be added and removed, and a window manager.

#include "TestMain.h"
#include "WindowFixture.h"
#include "window/WindowPlacement.h"

#include <QApplication>
#include <QProcess>
#include <QScreen>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// Environment variable, set in the child process that runs one case of the first show: a process
// has only one first show.
constexpr auto caseVariable = "PELORIN_PLACEMENT";

// Changes the screens of the display, as the desktop's display settings do.
bool xrandr(const QStringList &arguments) {
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.start(QStringLiteral("xrandr"), arguments);
    return program.waitForFinished(testPatience) && program.exitStatus() == QProcess::NormalExit &&
           program.exitCode() == 0;
}

bool setMode(const QString &name) {
    return xrandr(
        {QStringLiteral("--output"), QStringLiteral("screen"), QStringLiteral("--mode"), name});
}

QList<QRect> screens() {
    QList<QRect> all;
    for (const QScreen *screen : QGuiApplication::screens())
        all.append(screen->availableGeometry());
    return all;
}

bool becomes(const QList<QRect> &expected) {
    return QTest::qWaitFor([&expected] { return screens() == expected; }, testPatience);
}

const QRect whole(0, 0, 1440, 900);
const QRect left(0, 0, 720, 900);
const QRect right(720, 0, 720, 900);
const QRect small(0, 0, 800, 600);

}  // namespace

class PlacementTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void isCoveredByAllAreasTogether_data();
    void isCoveredByAllAreasTogether();
    void isBroughtNoFartherThanNeeded_data();
    void isBroughtNoFartherThanNeeded();
    void reopensOnAScreenThatIsThere_data();
    void reopensOnAScreenThatIsThere();
    void aWindowThatIsBroughtBackIsAsLargeAsFits();
    void aWindowThatTwoScreensShowStaysThere();
    void aWindowThatTheUserMovesStaysThereWhileItIsOpen();
    void theFirstShowingEndsOnTheScreen_data();
    void theFirstShowingEndsOnTheScreen();

private:
    std::shared_ptr<OlvNewsWindowController> opened();
    // Moves the window and waits until its frame's upper-left corner is at `place`. False on
    // timeout.
    static bool movesTo(OlvNewsWindow *window, QPoint place) {
        window->move(place);
        return QTest::qWaitFor([=] { return window->frameGeometry().topLeft() == place; },
                               testPatience);
    }
    static void closeAndWait(OlvNewsWindow *window) {
        window->performClose();
        QTRY_VERIFY(!window->isVisible());
    }
    [[nodiscard]] static bool isSeenWhole(const OlvNewsWindow *window) {
        return WindowPlacement::isCovered(window->frameGeometry(), screens());
    }
    // Waits long enough for the window manager's replies to all requests.
    static void waitForAnswers() { QTest::qWait(300); }

    std::unique_ptr<WindowFixture> _fixture;
};

void PlacementTest::initTestCase() {
    if (qEnvironmentVariableIsSet(caseVariable))
        return;
    QVERIFY(xrandr(
        {"--newmode", "small", "40", "800", "840", "968", "1056", "600", "601", "605", "628"}));
    QVERIFY(xrandr({"--addmode", "screen", "small"}));
}

void PlacementTest::init() {
    _fixture = std::make_unique<WindowFixture>();
    if (!qEnvironmentVariableIsSet(caseVariable))
        QCOMPARE(screens(), QList<QRect>{whole});
}

void PlacementTest::cleanup() {
    _fixture.reset();
    if (qEnvironmentVariableIsSet(caseVariable))
        return;
    if (screens().contains(left)) {
        for (const char *name : {"RIGHT", "LEFT"})
            xrandr({QStringLiteral("--delmonitor"), QLatin1String(name)});
    }
    QVERIFY(setMode(QStringLiteral("1440x900")));
    QVERIFY(becomes({whole}));
}

std::shared_ptr<OlvNewsWindowController> PlacementTest::opened() {
    auto controller = _fixture->shown(WindowFixture::items(2));
    const QWidget *area = controller->window()->findChild<QWidget *>(QStringLiteral("optionsArea"));
    if (!QTest::qWaitFor([area] { return area->isHidden(); }, testPatience))
        qFatal("the options do not fold");
    controller->window()->resize(500, 400);
    waitForAnswers();
    return controller;
}

void PlacementTest::isCoveredByAllAreasTogether_data() {
    QTest::addColumn<QRect>("frame");
    QTest::addColumn<bool>("covered");
    QTest::newRow("inside of one") << QRect(100, 100, 300, 200) << true;
    QTest::newRow("all of one") << left << true;
    QTest::newRow("in two") << QRect(600, 100, 300, 200) << true;
    QTest::newRow("one pixel above") << QRect(600, -1, 300, 200) << false;
    QTest::newRow("one pixel below") << QRect(100, 701, 300, 200) << false;
    QTest::newRow("one pixel left") << QRect(-1, 100, 300, 200) << false;
    QTest::newRow("one pixel right") << QRect(1141, 100, 300, 200) << false;
    QTest::newRow("elsewhere") << QRect(2000, 100, 300, 200) << false;
}

void PlacementTest::isCoveredByAllAreasTogether() {
    QFETCH(const QRect, frame);
    QTEST(WindowPlacement::isCovered(frame, {left, right}), "covered");
    QVERIFY(!WindowPlacement::isCovered(frame, {}));
}

void PlacementTest::isBroughtNoFartherThanNeeded_data() {
    QTest::addColumn<QRect>("frame");
    QTest::addColumn<QRect>("place");
    QTest::newRow("inside") << QRect(750, 50, 300, 200) << QRect(750, 50, 300, 200);
    QTest::newRow("above left") << QRect(600, -70, 300, 200) << QRect(720, 30, 300, 200);
    QTest::newRow("below right") << QRect(1300, 800, 300, 200) << QRect(1140, 700, 300, 200);
    QTest::newRow("too wide") << QRect(600, 50, 900, 200) << QRect(720, 50, 720, 200);
    QTest::newRow("too high") << QRect(750, 50, 300, 2000) << QRect(750, 30, 300, 870);
    QTest::newRow("wider than the area at the least")
        << QRect(0, 0, 1000, 100) << QRect(720, 30, 1000, 100);
}

void PlacementTest::isBroughtNoFartherThanNeeded() {
    QFETCH(const QRect, frame);
    const QSize smallest(frame.width() == 1000 ? 1000 : 200, 100);
    QTEST(WindowPlacement::broughtInto(frame, QRect(720, 30, 720, 870), smallest), "place");
}

void PlacementTest::reopensOnAScreenThatIsThere_data() {
    QTest::addColumn<bool>("another");
    QTest::addColumn<bool>("maximized");
    QTest::newRow("one of two is gone") << true << false;
    QTest::newRow("one of two is gone, maximized") << true << true;
    QTest::newRow("the only one is smaller") << false << false;
}

void PlacementTest::reopensOnAScreenThatIsThere() {
    QFETCH(const bool, another);
    QFETCH(const bool, maximized);
    if (another) {
        QVERIFY(xrandr({"--setmonitor", "LEFT", "720/200x900/250+0+0", "screen"}));
        QVERIFY(xrandr({"--setmonitor", "RIGHT", "720/200x900/250+720+0", "none"}));
        QVERIFY(becomes({left, right}));
    }
    const auto controller = opened();
    OlvNewsWindow *window = controller->window();
    QVERIFY(movesTo(window, QPoint(900, 450)));
    const QSize size = window->size();
    if (maximized) {
        window->showMaximized();
        QTRY_VERIFY(window->width() > size.width());
        waitForAnswers();
    }
    closeAndWait(window);
    if (another)
        QVERIFY(xrandr({"--delmonitor", "RIGHT"}));
    else
        QVERIFY(setMode(QStringLiteral("small")));
    QVERIFY(becomes({another ? left : small}));

    controller->showWindow();
    QVERIFY(QTest::qWaitForWindowActive(window, testPatience));
    if (maximized) {
        QVERIFY(window->isMaximized());
        window->showNormal();
        QTRY_VERIFY(!window->isMaximized());
    }
    // A maximized window has a smaller frame, and a restored window still reports that frame for a
    // moment. So the check leaves out the frame.
    const auto isBack = [&] {
        return maximized ? WindowPlacement::isCovered(window->geometry(), screens())
                         : isSeenWhole(window);
    };
    QTRY_VERIFY(isBack());
    QTRY_COMPARE(window->size(), size);
    waitForAnswers();
    QVERIFY(isBack());
}

void PlacementTest::aWindowThatIsBroughtBackIsAsLargeAsFits() {
    const auto controller = opened();
    OlvNewsWindow *window = controller->window();
    window->resize(1000, 700);
    QTRY_COMPARE(window->size(), QSize(1000, 700));
    closeAndWait(window);
    QVERIFY(setMode(QStringLiteral("small")));
    QVERIFY(becomes({small}));
    controller->showWindow();
    QVERIFY(QTest::qWaitForWindowActive(window, testPatience));
    QTRY_COMPARE(window->frameGeometry(), small);
}

void PlacementTest::aWindowThatTwoScreensShowStaysThere() {
    QVERIFY(xrandr({"--setmonitor", "LEFT", "720/200x900/250+0+0", "screen"}));
    QVERIFY(xrandr({"--setmonitor", "RIGHT", "720/200x900/250+720+0", "none"}));
    QVERIFY(becomes({left, right}));
    const auto controller = opened();
    OlvNewsWindow *window = controller->window();
    const QPoint place(500, 200);
    QVERIFY(movesTo(window, place));
    closeAndWait(window);
    controller->showWindow();
    QVERIFY(QTest::qWaitForWindowActive(window, testPatience));
    QTRY_COMPARE(window->frameGeometry().topLeft(), place);
    waitForAnswers();
    QCOMPARE(window->frameGeometry().topLeft(), place);
}

void PlacementTest::aWindowThatTheUserMovesStaysThereWhileItIsOpen() {
    const auto controller = opened();
    OlvNewsWindow *window = controller->window();
    const QPoint place(1200, 200);
    QVERIFY(movesTo(window, place));
    QVERIFY(!isSeenWhole(window));
    controller->onOptionsButton();
    QTRY_VERIFY(controller->displayContentFrom()->isVisible());
    waitForAnswers();
    controller->onOptionsButton();
    QTRY_COMPARE(window->height(), 400);
    QWidget other;
    other.show();
    other.activateWindow();
    QTRY_VERIFY(other.isActiveWindow());
    window->activateWindow();
    QTRY_VERIFY(window->isActiveWindow());
    waitForAnswers();
    QCOMPARE(window->frameGeometry().topLeft(), place);
    closeAndWait(window);
    controller->showWindow();
    QTRY_VERIFY(isSeenWhole(window));
}

void PlacementTest::theFirstShowingEndsOnTheScreen_data() {
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("font");
    QTest::addColumn<int>("scale");
    QTest::addColumn<QRect>("screen");
    QTest::addColumn<QPoint>("place");
    const QPoint centred(-1, -1);
    const auto english = QStringLiteral("en");
    const auto german = QStringLiteral("de");
    QTest::newRow("ordinary") << english << 1 << 1 << small << centred;
    QTest::newRow("twice the font size") << english << 2 << 1 << small << centred;
    QTest::newRow("twice the font size, long texts") << german << 2 << 1 << small << centred;
    QTest::newRow("more than the screen is wide") << german << 3 << 1 << small << centred;
    QTest::newRow("all of twice the size") << english << 1 << 2 << small << centred;
    QTest::newRow("all of twice the size, long texts") << german << 1 << 2 << small << centred;
    // The first show enlarges the window to 576 by 360, and its lower-left corner stays in place.
    QTest::newRow("beyond the upper edge") << english << 1 << 1 << whole << QPoint(50, 30);
    QTest::newRow("beyond the right edge") << english << 1 << 1 << whole << QPoint(990, 300);
}

void PlacementTest::theFirstShowingEndsOnTheScreen() {
    QFETCH(const int, font);
    QFETCH(const int, scale);
    QFETCH(const QRect, screen);
    QFETCH(const QPoint, place);
    if (!qEnvironmentVariableIsSet(caseVariable)) {
        QFETCH(const QString, language);
        if (screen == small)
            QVERIFY(setMode(QStringLiteral("small")));
        QVERIFY(becomes({screen}));
        QProcess alone;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(caseVariable), QStringLiteral("1"));
        environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QString::number(scale));
        environment.insert(QStringLiteral("LANGUAGE"), language);
        alone.setProcessEnvironment(environment);
        alone.setProcessChannelMode(QProcess::MergedChannels);
        alone.start(QCoreApplication::applicationFilePath(),
                    {QStringLiteral("theFirstShowingEndsOnTheScreen:") +
                     QLatin1String(QTest::currentDataTag())});
        QVERIFY(alone.waitForFinished(4 * testPatience));
        QVERIFY2(alone.exitStatus() == QProcess::NormalExit && alone.exitCode() == 0,
                 alone.readAll().constData());
        return;
    }
    QCOMPARE(screens(), (QList{QRect(screen.topLeft(), screen.size() / scale)}));
    QFont enlarged = QApplication::font();
    enlarged.setPointSize(enlarged.pointSize() * font);
    QApplication::setFont(enlarged);
    // Show all news: with German settings the feed's English dates cannot be parsed, so no item
    // would count as unread.
    _fixture->prefer(QStringLiteral("newsFilter"), 1);
    const auto controller = _fixture->unshown(WindowFixture::items(2));
    OlvNewsWindow *window = controller->window();
    QVERIFY(window);
    if (place.x() >= 0) {
        window->resize(400, 200);
        window->move(place);
    }
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    const auto *area = window->findChild<QWidget *>(QStringLiteral("optionsArea"));
    QVERIFY(area);
    QTRY_VERIFY(area->isHidden());
    QTRY_VERIFY(isSeenWhole(window));
    waitForAnswers();
    QVERIFY2(isSeenWhole(window), qPrintable(QDebug::toString(window->frameGeometry())));
    // The window's controls are visible, too.
    QVERIFY(window->rect().contains(controller->nextItem()->geometry().translated(
        controller->nextItem()->parentWidget()->mapTo(window, QPoint()))));
}

PELORIN_WIDGET_TEST_MAIN(PlacementTest)
#include "PlacementTest.moc"
