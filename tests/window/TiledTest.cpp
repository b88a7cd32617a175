// The window as one of several tiles, whose edges only the desktop moves. Runs with two desktops:
// i3 on X11 and sway on Wayland, which accept the same commands.

#include "TestMain.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QWindow>

#include <array>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

QByteArray tell(const QStringList &arguments) {
    QProcess process;
    process.start(qEnvironmentVariable("PELORIN_TILING_CONTROL"), arguments);
    process.waitForFinished(testPatience);
    return process.readAllStandardOutput();
}

// The size of the window with this title in a part of the desktop's window tree; empty if that part
// does not contain the window.
QSize tileIn(const QJsonObject &node, const QString &title) {
    if (node[QStringLiteral("name")].toString() == title) {
        const QJsonObject place = node[QStringLiteral("window_rect")].toObject();
        return {place[QStringLiteral("width")].toInt(), place[QStringLiteral("height")].toInt()};
    }
    QSize found;
    for (const char *kind : {"nodes", "floating_nodes"}) {
        const QJsonArray children = node[QLatin1String(kind)].toArray();
        for (const QJsonValue &child : children) {
            if (found.isEmpty())
                found = tileIn(child.toObject(), title);
        }
    }
    return found;
}

QSize tile() {
    const QByteArray tree = tell({QStringLiteral("-t"), QStringLiteral("get_tree")});
    return tileIn(QJsonDocument::fromJson(tree).object(), QStringLiteral("Pelorin News"));
}

}  // namespace

class TiledTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theContentGivesTheRoomAndGetsItBack();
    void theContentGivesTheRoomInATileLowerThanTheWindowMayBe();
    void aWindowTiledWhileItsOptionsAreOpenKeepsItsTile();
    void aFloatingWindowGrows();

private:
    /// Makes the desktop run a command on the window.
    void order(const char *command) const {
        tell({QStringLiteral("[title=\"^Pelorin News$\"]"), QLatin1String(command)});
    }
    [[nodiscard]] bool isFolded() const {
        return _area->isHidden() &&
               _controller->optionsLabel()->text() == QLatin1String("Show options");
    }
    [[nodiscard]] bool isOpen() const {
        return _area->isVisible() &&
               _controller->optionsLabel()->text() == QLatin1String("Hide options");
    }
    /// Whether window and desktop agree about the window's size, and the window's last row of
    /// controls ends at its bottom edge.
    [[nodiscard]] bool isInSight() const {
        const QWidget *window = _controller->window();
        const int bottom =
            _area->isHidden() ? _controls->geometry().bottom() + 1 : _area->geometry().bottom() + 1;
        return window->size() == tile() && bottom == window->height();
    }

    /// Takes the window out of its tile. Some desktops leave it as large as the tile was, so it is
    /// made smaller as well.
    void makeFloating() const {
        order("floating enable");
        order("resize set 560 px 460 px");
    }
    /// Whether the window floats and has settled at its size.
    [[nodiscard]] bool isFloating() const { return tile() != _thirdOfTheScreen && isInSight(); }

    const QSize _thirdOfTheScreen{480, 900};
    std::unique_ptr<WindowFixture> _fixture;
    std::shared_ptr<OlvNewsWindowController> _controller;
    std::array<QWidget, 2> _others;
    QWidget *_area = nullptr;
    QWidget *_controls = nullptr;
};

void TiledTest::init() {
    _fixture = std::make_unique<WindowFixture>();
    for (QWidget &other : _others)
        other.show();
    _controller = _fixture->unshown(WindowFixture::items(2));
    QWidget *window = _controller->window();
    QVERIFY(window);
    _area = window->findChild<QWidget *>(QStringLiteral("optionsArea"));
    _controls = window->findChild<QWidget *>(QStringLiteral("controls"));
    QVERIFY(_area && _controls);
    _controller->showWindow();
    QTRY_COMPARE(_controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    // The window is tiled beside the others, so its first show does not enlarge it.
    QTRY_COMPARE(tile(), _thirdOfTheScreen);
    QTRY_VERIFY(isFolded());
    QTRY_VERIFY(isInSight());
}

void TiledTest::cleanup() {
    if (isOpen()) {
        _controller->onOptionsButton();
        QTRY_VERIFY(isFolded());
    }
    _controller->exit();
    _controller.reset();
    for (QWidget &other : _others)
        other.close();
    _fixture.reset();
}

void TiledTest::theContentGivesTheRoomAndGetsItBack() {
    // The first show requests another geometry, but the widget must report the geometry of its
    // tile.
    const QWidget *window = _controller->window();
    QCOMPARE(window->geometry(), window->windowHandle()->geometry());
    const int page = _controller->webView()->height();
    for (int round = 0; round < 2; ++round) {
        _controller->onOptionsButton();
        QTRY_VERIFY(isOpen());
        QTRY_VERIFY(isInSight());
        QCOMPARE(tile(), _thirdOfTheScreen);
        QTRY_COMPARE(_controller->webView()->height(), page - 38);
        for (const QWidget *menu : {static_cast<QWidget *>(_controller->displayContentType()),
                                    static_cast<QWidget *>(_controller->displayContentFrom())})
            QVERIFY(_controller->window()->rect().contains(
                QRect(menu->mapTo(_controller->window(), QPoint()), menu->size())));

        _controller->onOptionsButton();
        QTRY_VERIFY(isFolded());
        QTRY_VERIFY(isInSight());
        QCOMPARE(tile(), _thirdOfTheScreen);
        QTRY_COMPARE(_controller->webView()->height(), page);
    }
}

void TiledTest::theContentGivesTheRoomInATileLowerThanTheWindowMayBe() {
    // Stack the tiles vertically.
    order("layout splitv");
    QTRY_COMPARE(tile(), QSize(1440, 300));
    order("resize set height 240 px");
    QTRY_COMPARE(tile(), QSize(1440, 240));
    QTRY_VERIFY(isInSight());
    const int page = _controller->webView()->height();
    _controller->onOptionsButton();
    QTRY_VERIFY(isOpen());
    QTRY_VERIFY(isInSight());
    QCOMPARE(tile(), QSize(1440, 240));
    QTRY_COMPARE(_controller->webView()->height(), page - 38);
    _controller->onOptionsButton();
    QTRY_VERIFY(isFolded());
    QTRY_VERIFY(isInSight());
    QTRY_COMPARE(_controller->webView()->height(), page);
}

void TiledTest::aWindowTiledWhileItsOptionsAreOpenKeepsItsTile() {
    const int page = _controller->webView()->height();
    makeFloating();
    QTRY_VERIFY(isFloating());
    const QSize folded = tile();
    _controller->onOptionsButton();
    QTRY_VERIFY(isOpen());
    QTRY_COMPARE(tile(), folded + QSize(0, 38));
    order("floating disable");
    QTRY_COMPARE(tile(), _thirdOfTheScreen);
    QTRY_VERIFY(isInSight());
    _controller->onOptionsButton();
    QTRY_VERIFY(isFolded());
    QTRY_VERIFY(isInSight());
    QCOMPARE(tile(), _thirdOfTheScreen);
    QTRY_COMPARE(_controller->webView()->height(), page);
}

void TiledTest::aFloatingWindowGrows() {
    makeFloating();
    QTRY_VERIFY(isFloating());
    const QSize folded = tile();
    const int page = _controller->webView()->height();
    for (int round = 0; round < 2; ++round) {
        _controller->onOptionsButton();
        QTRY_VERIFY(isOpen());
        QTRY_COMPARE(tile(), folded + QSize(0, 38));
        QTRY_VERIFY(isInSight());
        QTRY_COMPARE(_controller->webView()->height(), page);
        _controller->onOptionsButton();
        QTRY_VERIFY(isFolded());
        QTRY_COMPARE(tile(), folded);
        QTRY_VERIFY(isInSight());
        QTRY_COMPARE(_controller->webView()->height(), page);
    }
}

PELORIN_WIDGET_TEST_MAIN(TiledTest)
#include "TiledTest.moc"
