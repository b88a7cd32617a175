// A screen with a scale of 150 %, and a move to one with 200 %. Windows of other sizes.

#include "RendererFixture.h"
#include "TestMain.h"
#include "rendering/PagePopup.h"

#include <QProcess>
#include <QScreen>

#include <cstdlib>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

// Read when the application object is created.
const bool hasScales = qputenv("QT_SCREEN_SCALE_FACTORS", "screen=1.5;LEFT=1.5;RIGHT=2");

const QPoint corner(480, 280);

void xrandr(const QStringList &arguments) {
    QCOMPARE(QProcess::execute(QStringLiteral("xrandr"), arguments), 0);
}

// Two screens with scales of 150 % and 200 %.
class TwoScreens {
public:
    TwoScreens() {
        xrandr({"--setmonitor", "LEFT", "720/200x900/250+0+0", "screen"});
        xrandr({"--setmonitor", "RIGHT", "720/200x900/250+720+0", "none"});
        waitUntil([] { return QGuiApplication::screens().size() == 2; }, "there is one screen");
    }
    ~TwoScreens() {
        for (const char *name : {"RIGHT", "LEFT"})
            xrandr({"--delmonitor", QLatin1String(name)});
    }
    TwoScreens(const TwoScreens &) = delete;
    TwoScreens &operator=(const TwoScreens &) = delete;

    /// Moves the window to the screen with 200 %.
    static void moveRight(QWidget &window) {
        window.move(QGuiApplication::screens().at(1)->geometry().topLeft() + QPoint(20, 50));
        waitUntil([&window] { return window.devicePixelRatioF() == 2.0; },
                  "the window does not move");
    }
};

}  // namespace

class ScaleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { _fixture.reset(); }

    void paintsEveryPixelOfTheScreen();
    void followsTheScaleOfTheScreen();
    void keepsThePictureInItsSizeUntilTheNext();
    void opensAListInTheScaleOfTheScreen();
    void followsTheSizeOfTheWindow();

private:
    // Shows a page with a link in the lower right corner, and a line that is one pixel of the
    // screen wide.
    void show();
    void verifyPixels(double scale) const;
    void verifyClicks(QSize size);

    std::unique_ptr<RendererFixture> _fixture;
};

void ScaleTest::init() {
    QVERIFY(hasScales);
    _fixture = std::make_unique<RendererFixture>(Painter::Web);
    show();
}

void ScaleTest::show() {
    _fixture->load(page(QStringLiteral(
        "<style>i { position: absolute; background: black; left: 100px; top: 0; height: 50px; "
        "width: 1px }"
        "@media (min-resolution: 1.5dppx) { i { width: 0.6667px } }"
        "@media (min-resolution: 2dppx) { i { width: 0.5px } }"
        "a { position: fixed; right: 0; bottom: 0; width: 60px; height: 60px }</style>"
        "<i></i><a href=http://example.com/>")));
    _fixture->waitForColour(corner, ground);
}

void ScaleTest::verifyPixels(double scale) const {
    QTRY_COMPARE(_fixture->evaluated(QStringLiteral("devicePixelRatio")).toDouble(), scale);
    const int left = qRound(100 * scale);
    const int y = qRound(20 * scale);
    const auto isSharp = [&] {
        const QImage screen = _fixture->screen();
        return screen.pixelColor(left - 1, y) == ground &&
               screen.pixelColor(left, y) == QColor(Qt::black) &&
               screen.pixelColor(left + 1, y) == ground;
    };
    QTRY_VERIFY(isSharp());
}

void ScaleTest::verifyClicks(QSize size) {
    const QPoint place(size.width() - 20, size.height() - 20);
    _fixture->waitForColour(place, ground);
    _fixture->questions.clear();
    _fixture->click(place);
    const QList<RendererFixture::Question> expected{
        {NavigationType::LinkClicked, QStringLiteral("http://example.com/")}};
    QTRY_COMPARE(_fixture->questions, expected);
    _fixture->questions.clear();
    _fixture->click({size.width() - 70, size.height() - 20});
    QTest::qWait(100);
    QCOMPARE(_fixture->questions, QList<RendererFixture::Question>());
}

void ScaleTest::paintsEveryPixelOfTheScreen() {
    QCOMPARE(_fixture->view.devicePixelRatioF(), 1.5);
    verifyPixels(1.5);
    verifyClicks(_fixture->view.size());
}

void ScaleTest::followsTheScaleOfTheScreen() {
    const qint64 process = _fixture->engine().process();
    const TwoScreens screens;
    TwoScreens::moveRight(_fixture->view);
    // Another scale needs another process.
    QTRY_VERIFY(_fixture->engine().process() != process);
    QTRY_VERIFY(_fixture->engine().state()[u"loadsFinished"].toInt() > 0);
    // Qt may read the new size in pixels with the scale of the screen that the window has left. The
    // window then has another size than its widgets, until it is set again.
    const QSize size(300, 200);
    const auto hasOneSize = [this, size] {
        _fixture->view.resize(size);
        const auto isSettled = [this, size] {
            return _fixture->view.size() == size && _fixture->screen().size() == size * 2 &&
                   _fixture->evaluated(QStringLiteral("innerWidth")).toInt() == size.width();
        };
        return QTest::qWaitFor(isSettled, 2000);
    };
    waitUntil(hasOneSize, "the window has no settled size");
    verifyPixels(2);
    verifyClicks(size);
}

void ScaleTest::keepsThePictureInItsSizeUntilTheNext() {
    const TwoScreens screens;
    TwoScreens::moveRight(_fixture->view);
    // The line is where it was, in the units of the window.
    const QImage shot = _fixture->view.grab({0, 0, 200, 40}).toImage();
    int left = 0;
    while (left < shot.width() && shot.pixelColor(left, 40).green() > 0x80)
        ++left;
    QVERIFY2(std::abs(left - 200) <= 2, qPrintable(QString::number(left)));
}

void ScaleTest::opensAListInTheScaleOfTheScreen() {
    const TwoScreens screens;
    for (const double scale : {1.5, 2.0}) {
        if (scale == 2.0) {
            TwoScreens::moveRight(_fixture->view);
            QTRY_COMPARE(_fixture->evaluated(QStringLiteral("devicePixelRatio")).toDouble(), scale);
        }
        _fixture->load(
            page(QStringLiteral("<style>*{background:#20c040;color:#20c040}</style>"
                                "<select style='width:200px;height:80px'>"
                                "<option>One<option>Two<option>Three</select>")));
        const auto isOpen = [] { return QApplication::activePopupWidget() != nullptr; };
        const auto opens = [this, isOpen] {
            if (!isOpen())
                _fixture->click({30, 30});
            return QTest::qWaitFor(isOpen, 1000);
        };
        waitUntil(opens, "the list does not open");
        auto *popup = qobject_cast<PagePopup *>(QApplication::activePopupWidget());
        QVERIFY(popup);
        const auto isWhole = [popup] {
            const QImage image = popup->grab().toImage();
            return image.pixelColor(image.width() - 8, image.height() - 8) == ground;
        };
        QTRY_VERIFY(isWhole());
        QTest::keyClick(popup, Qt::Key_Escape);
        QTRY_VERIFY(QApplication::activePopupWidget() == nullptr);
    }
}

void ScaleTest::followsTheSizeOfTheWindow() {
    const qint64 process = _fixture->engine().process();
    for (const QSize size : {QSize(700, 400), QSize(301, 203), QSize(500, 300)}) {
        _fixture->view.resize(size);
        // At 150 %, an odd size is not a whole number of pixels.
        QTRY_VERIFY(std::abs(_fixture->evaluated(QStringLiteral("innerWidth")).toInt() -
                             size.width()) <= 1);
        verifyClicks(size);
    }
    QCOMPARE(_fixture->engine().process(), process);
}

PELORIN_WIDGET_TEST_MAIN(ScaleTest)
#include "ScaleTest.moc"
