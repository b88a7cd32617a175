// Folding the options away and back, measured on the screen.

#include "PanelTestMain.h"

using namespace pelorinnews::test;
using Assistive::Object;

class OptionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { _panel = std::make_unique<Panel>(); }
    void cleanup() { _panel.reset(); }

    void nothingAboveTheOptionsMoves();
    void pressingAgainWhileItMovesEndsWhereItBegan();
    void aSizeGivenByHandInBetweenStays();
    void closingWhileItMovesLeavesNothingHalfDone();
    void atTwiceTheSizeItMovesTwiceAsFar();

private:
    static constexpr int foldHeight = 38;

    /// Whether the host's window opens, and then folds the options.
    [[nodiscard]] bool opens() const {
        return _panel->open(Panel::items(2)) &&
               QTest::qWaitFor([this] { return isFolded(); }, testPatience) &&
               _panel->comesToRest();
    }

    [[nodiscard]] QRect window() const { return Screen::geometry(_panel->window); }
    [[nodiscard]] static Object triangleIn(const QList<Object> &all) {
        const Object folded = Panel::visible(all, "push button", "Show options");
        return folded.role.isEmpty() ? Panel::visible(all, "push button", "Hide options") : folded;
    }
    [[nodiscard]] Object triangle() const { return triangleIn(_panel->objects()); }
    [[nodiscard]] bool isOpen() const {
        const QList<Object> all = _panel->objects();
        return Panel::visible(all, "push button", "Hide options").is("expanded") &&
               Panel::visible(all, "combo box", "All").is("showing");
    }
    [[nodiscard]] bool isFolded() const {
        const QList<Object> all = _panel->objects();
        return Panel::visible(all, "push button", "Show options").is("collapsed") &&
               Panel::visible(all, "combo box", "All").role.isEmpty();
    }
    /// The screen positions of the content view and of the six controls above the options.
    [[nodiscard]] QList<QRect> above() const {
        const QList<Object> all = _panel->objects();
        QList<QRect> places{Panel::contentIn(all).place, triangleIn(all).place};
        for (const Object &each : all) {
            if (each.is("showing") && (each.name.endsWith(QStringLiteral("news item")) ||
                                       each.name == QLatin1String("Show news on start") ||
                                       each.name == QLatin1String("1 / 2")))
                places.append(each.place);
            // The text of the label beside the triangle changes, and with it its width, so only its
            // position and height are compared.
            if (each.role == QLatin1String("label") &&
                each.name.endsWith(QStringLiteral("options")))
                places.append(QRect(each.place.topLeft(), QSize(1, each.place.height())));
        }
        return places;
    }

    std::unique_ptr<Panel> _panel;
};

void OptionsTest::nothingAboveTheOptionsMoves() {
    QVERIFY(opens());
    const QRect folded = window();
    const QMargins frame = Screen::frame(_panel->window);
    const QList<QRect> before = above();
    QCOMPARE(before.size(), 7);

    Screen::click(triangle().place.center());
    QTRY_VERIFY(isOpen());
    QTRY_COMPARE(window(), folded.adjusted(0, 0, 0, foldHeight));
    QTRY_COMPARE(above(), before);
    for (const char *name : {"All news", "All"}) {
        const QRect menu = _panel->object("combo box", name).place;
        QVERIFY(menu.top() > folded.bottom() - foldHeight);
        QVERIFY(menu.bottom() <= folded.bottom() + foldHeight);
    }

    Screen::click(triangle().place.center());
    QTRY_VERIFY(isFolded());
    QTRY_COMPARE(window(), folded);
    QTRY_COMPARE(above(), before);
    QCOMPARE(Screen::frame(_panel->window), frame);

    // The options open and fold in the same way by keyboard and through assistive software.
    _panel->press("space");
    QTRY_VERIFY(isOpen());
    QTRY_COMPARE(window(), folded.adjusted(0, 0, 0, foldHeight));
    Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Hide options"));
    QTRY_VERIFY(isFolded());
    QTRY_COMPARE(window(), folded);
    QTRY_COMPARE(above(), before);
}

void OptionsTest::pressingAgainWhileItMovesEndsWhereItBegan() {
    QVERIFY(opens());
    const QRect folded = window();
    const QList<QRect> before = above();
    // Both presses come within the fifth of a second that the folding takes.
    Screen::click(triangle().place.center());
    Screen::activate(_panel->window);
    Screen::press(QStringLiteral("space"));
    QTRY_VERIFY(isFolded());
    QTRY_COMPARE(window(), folded);
    QTRY_COMPARE(above(), before);
    // After three presses the options are open.
    _panel->press("space");
    Screen::press(QStringLiteral("space"));
    Screen::press(QStringLiteral("space"));
    QTRY_VERIFY(isOpen());
    QTRY_COMPARE(window(), folded.adjusted(0, 0, 0, foldHeight));
    QTRY_COMPARE(above(), before);
}

void OptionsTest::aSizeGivenByHandInBetweenStays() {
    QVERIFY(opens());
    Screen::click(triangle().place.center());
    QTRY_VERIFY(isOpen());
    const QPoint corner = window().topLeft();
    Screen::resize(_panel->window, QSize(700, 500));
    QTRY_COMPARE(window(), QRect(corner, QSize(700, 500)));
    QList<QRect> before;
    const auto laidOut = [&] {
        before = above();
        return before.first().width() == 700;
    };
    QTRY_VERIFY(laidOut());

    Screen::click(triangle().place.center());
    QTRY_VERIFY(isFolded());
    QTRY_COMPARE(window(), QRect(corner, QSize(700, 500 - foldHeight)));
    QTRY_COMPARE(above(), before);
    Screen::resize(_panel->window, QSize(640, 400));
    QTRY_COMPARE(window(), QRect(corner, QSize(640, 400)));
    Screen::click(triangle().place.center());
    QTRY_VERIFY(isOpen());
    QTRY_COMPARE(window(), QRect(corner, QSize(640, 400 + foldHeight)));
}

void OptionsTest::closingWhileItMovesLeavesNothingHalfDone() {
    QVERIFY(opens());
    const QSize folded = window().size();
    const QPoint place = triangle().place.center();
    Screen::click(place);
    _panel->press("Escape");
    QTRY_VERIFY(!_panel->isOpen());
    QVERIFY(_panel->reopen());
    QTRY_VERIFY(isOpen());
    QTRY_COMPARE(window().size(), folded + QSize(0, foldHeight));
    Screen::click(triangle().place.center());
    QTRY_VERIFY(isFolded());
    QTRY_COMPARE(window().size(), folded);
}

void OptionsTest::atTwiceTheSizeItMovesTwiceAsFar() {
    _panel->desktop.setVariable(QStringLiteral("QT_SCALE_FACTOR"), QStringLiteral("2"));
    QVERIFY(opens());
    const QRect folded = window();
    const QList<QRect> before = above();
    // The Qt Designer form's width of 560, in physical pixels: at this scale it needs no enlarging.
    QCOMPARE(folded.width(), 2 * 560);
    Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Show options"));
    QTRY_VERIFY(isOpen());
    QTRY_COMPARE(window(), folded.adjusted(0, 0, 0, 2 * foldHeight));
    QTRY_COMPARE(above(), before);
    Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Hide options"));
    QTRY_VERIFY(isFolded());
    QTRY_COMPARE(window(), folded);
    QTRY_COMPARE(above(), before);
}

PELORIN_PANEL_TEST_MAIN(OptionsTest)
#include "OptionsTest.moc"
