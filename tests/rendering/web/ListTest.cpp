// A drop-down list works with a real mouse and keyboard, on X11 and on Wayland. There, the
// compositor's screen is a window of an X server, from which the compositor gets its input.

#include "RendererFixture.h"
#include "TestMain.h"
#include "rendering/PagePopup.h"

#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QScreen>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const QString list = QStringLiteral(
    "<select id=field style='display:block;width:300px;height:100px;font-size:40px'>"
    "<option>One<option>Two<option>Three</select>");
const QPoint inField(50, 50);

bool isWayland() {
    return QGuiApplication::platformName() == QLatin1String("wayland");
}

// Runs a program of the X server, and returns its output.
QString outputOf(const QString &name, const QStringList &arguments) {
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    auto environment = QProcessEnvironment::systemEnvironment();
    if (isWayland())
        environment.insert(QStringLiteral("DISPLAY"),
                           environment.value(QStringLiteral("PELORIN_X11_DISPLAY")));
    program.setProcessEnvironment(environment);
    program.start(name, arguments);
    if (!program.waitForFinished(testPatience) || program.exitCode() != 0)
        qFatal("%s has failed", qUtf8Printable(name));
    return QString::fromUtf8(program.readAllStandardOutput());
}

void xdotool(const QStringList &arguments) {
    outputOf(QStringLiteral("xdotool"), arguments);
}

// Gives the compositor an order.
void order(const QString &text) {
    outputOf(qEnvironmentVariable("PELORIN_TILING_CONTROL"), {text});
}

// Where the compositor's output is on the X server.
QPoint outputOrigin(const QString &name) {
    const QString window = outputOf(QStringLiteral("xwininfo"),
                                    {QStringLiteral("-name"), QStringLiteral("wlroots - ") + name});
    static const QRegularExpression place(
        QStringLiteral("Absolute upper-left X: +(-?\\d+)\\s+Absolute upper-left Y: +(-?\\d+)"));
    const QRegularExpressionMatch found = place.match(window);
    if (!found.hasMatch())
        qFatal("xwininfo does not tell where the compositor's window is");
    return {found.captured(1).toInt(), found.captured(2).toInt()};
}

}  // namespace

class ListTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { _fixture.reset(); }

    void choosesByMouse();
    void choosesByKeys();
    void closesByAClickBesideIt();
    void opensOnTheSecondScreen();
    void opensAtEveryScaleOfTheDesktop();
    void opensOnTheSecondOutput();

private:
    /// Moves the real pointer to `place`, in the coordinates of `widget`.
    void point(const QWidget &widget, QPoint place);
    void click(const QWidget &widget, QPoint place);
    /// Opens the list with the mouse, and waits until it is painted.
    void open();
    [[nodiscard]] static PagePopup *openList() {
        return qobject_cast<PagePopup *>(QApplication::activePopupWidget());
    }
    [[nodiscard]] QString value() const {
        return _fixture->evaluated(QStringLiteral("document.getElementById('field').value"))
            .toString();
    }

    std::unique_ptr<RendererFixture> _fixture;
    /// The compositor's output that shows the window, and its scale.
    QString _output = QStringLiteral("X11-1");
    double _desktopScale = 1;
};

void ListTest::init() {
    _fixture = std::make_unique<RendererFixture>(Painter::Web);
    _fixture->load(page(list));
    // Look at the view, not at the screen: on Wayland a program cannot read the screen.
    const auto isPainted = [this] {
        return _fixture->view.grab({480, 280, 1, 1}).toImage().pixelColor(0, 0) == ground;
    };
    QTRY_VERIFY(isPainted());
}

void ListTest::point(const QWidget &widget, QPoint place) {
    QPoint onScreen = widget.mapToGlobal(place);
    // The compositor makes the window as large as its output.
    if (isWayland())
        onScreen = outputOrigin(_output) +
                   (onScreen - _fixture->view.mapToGlobal(QPoint())) * _desktopScale;
    xdotool({QStringLiteral("mousemove"), QString::number(onScreen.x()),
             QString::number(onScreen.y())});
}

void ListTest::click(const QWidget &widget, QPoint place) {
    point(widget, place);
    xdotool({QStringLiteral("click"), QStringLiteral("1")});
}

void ListTest::open() {
    // The engine drops clicks on content that it has only just painted.
    for (int attempt = 0; attempt < 5 && openList() == nullptr; ++attempt) {
        click(_fixture->view, inField);
        static_cast<void>(QTest::qWaitFor([] { return openList() != nullptr; }, 10000));
    }
    const auto isPainted = [] {
        if (openList() == nullptr)
            return false;
        const QImage image = openList()->grab().toImage();
        return image.copy(0, 0, 60, image.height()) != image.copy(100, 0, 60, image.height());
    };
    QTRY_VERIFY(isPainted());
}

void ListTest::choosesByMouse() {
    open();
    QVERIFY(openList() != nullptr);
    const QPoint second(50, openList()->height() / 2);
    point(*openList(), second);
    QTest::qWait(50);
    click(*openList(), second);
    QTRY_COMPARE(value(), QStringLiteral("Two"));
    QTRY_VERIFY(openList() == nullptr);
}

void ListTest::choosesByKeys() {
    open();
    QVERIFY(openList() != nullptr);
    xdotool({QStringLiteral("key"), QStringLiteral("Down"), QStringLiteral("Down"),
             QStringLiteral("Return")});
    QTRY_COMPARE(value(), QStringLiteral("Three"));
    QTRY_VERIFY(openList() == nullptr);
}

void ListTest::closesByAClickBesideIt() {
    open();
    QVERIFY(openList() != nullptr);
    click(_fixture->view, {480, 280});
    QTRY_VERIFY(openList() == nullptr);
    QCOMPARE(value(), QStringLiteral("One"));
}

void ListTest::opensOnTheSecondScreen() {
    if (isWayland())
        QSKIP("the compositor has one screen");
    const qint64 process = _fixture->engine().process();
    outputOf("xrandr", {"--setmonitor", "LEFT", "720/200x900/250+0+0", "screen"});
    outputOf("xrandr", {"--setmonitor", "RIGHT", "720/200x900/250+720+0", "none"});
    QTRY_COMPARE(QGuiApplication::screens().size(), 2);
    // The screen has another size now, so a new process shows the page.
    QTRY_VERIFY(_fixture->engine().process() != process);
    QTRY_VERIFY(_fixture->engine().state()[u"loadsFinished"].toInt() > 0);
    // Near the edge between the screens and near the bottom: the list is wider than what is left of
    // the screen, and there is no room below the field.
    _fixture->view.move(1200, 800);
    QTRY_VERIFY(_fixture->view.mapToGlobal(QPoint()).x() > 720);
    open();
    QVERIFY(openList() != nullptr);
    const QRect second(720, 0, 720, 900);
    QVERIFY(second.contains(openList()->geometry()));
    click(*openList(), {50, openList()->height() / 2});
    QTRY_COMPARE(value(), QStringLiteral("Two"));
    for (const char *name : {"RIGHT", "LEFT"})
        outputOf("xrandr", {"--delmonitor", QLatin1String(name)});
}

void ListTest::opensAtEveryScaleOfTheDesktop() {
    if (!isWayland())
        QSKIP("an X server has no scale");
    const auto restore = qScopeGuard([this] {
        _desktopScale = 1;
        order(QStringLiteral("output X11-1 scale 1"));
    });
    for (const double scale : {1.5, 2.0}) {
        _desktopScale = scale;
        order(QStringLiteral("output X11-1 scale %1").arg(scale));
        // The compositor scales a picture of 200 % down to 150 %.
        QTRY_COMPARE(_fixture->view.devicePixelRatioF(), 2.0);
        QTRY_COMPARE(_fixture->evaluated(QStringLiteral("devicePixelRatio")).toDouble(), 2.0);
        QTRY_COMPARE(_fixture->view.width(), qRound(1440 / scale));
        open();
        QVERIFY(openList() != nullptr);
        click(*openList(), {50, openList()->height() / 2});
        QTRY_COMPARE(value(), QStringLiteral("Two"));
        QTRY_VERIFY(openList() == nullptr);
    }
}

void ListTest::opensOnTheSecondOutput() {
    if (!isWayland())
        QSKIP("the compositor of Wayland has outputs");
    order(QStringLiteral("create_output"));
    const auto restore = qScopeGuard([this] {
        order(QStringLiteral("output X11-2 disable"));
        _output = QStringLiteral("X11-1");
    });
    order(QStringLiteral("output X11-2 pos 1440 0"));
    QTRY_COMPARE(QGuiApplication::screens().size(), 2);
    order(QStringLiteral("[app_id=.*] move container to output X11-2"));
    QTRY_COMPARE(_fixture->view.screen()->name(), QStringLiteral("X11-2"));
    _output = QStringLiteral("X11-2");
    open();
    QVERIFY(openList() != nullptr);
    click(*openList(), {50, openList()->height() / 2});
    QTRY_COMPARE(value(), QStringLiteral("Two"));
}

PELORIN_WIDGET_TEST_MAIN(ListTest)
#include "ListTest.moc"
