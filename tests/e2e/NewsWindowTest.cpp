// The news window as a user meets it: by sight, keys and mouse.

#include "Desktop.h"

#include <TestMain.h>

using namespace pelorinnews::test;

class NewsWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { desktop.reset(); }

    void opensByItselfWithTheFirstItem();
    void keysInThePageCloseTheWindowAndTheHostGoesOn_data();
    void keysInThePageCloseTheWindowAndTheHostGoesOn();
    void copiesRichTextAlone();
    void opensFoldedAndTheTriangleUnfoldsIt();

private:
    static constexpr int patience = 30000;

    void open() {
        desktop->startHost();
        QTRY_VERIFY_WITH_TIMEOUT(desktop->text().contains(QStringLiteral("A lighthouse")),
                                 patience);
        window = desktop->newsWindow();
        QVERIFY(!window.isEmpty());
    }
    void clickIntoThePage() const { Desktop::click(Desktop::geometry(window).center()); }

    std::unique_ptr<Desktop> desktop;
    QString window;
};

void NewsWindowTest::init() {
    desktop = std::make_unique<Desktop>();
    desktop->prefer(QStringLiteral("newsShowOnStart"), true);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    desktop->serve(
        {{QStringLiteral("New"), now.addSecs(-60), QStringLiteral("A lighthouse burns"),
          QStringLiteral(
              "<body style='background:#20c040'><p>A <b>lighthouse</b> burns</p></body>")},
         {QStringLiteral("Old"), now.addDays(-2), QStringLiteral("Fog lifts"),
          QStringLiteral("<p>Fog lifts</p>")}});
}

void NewsWindowTest::opensByItselfWithTheFirstItem() {
    open();
    QTRY_VERIFY_WITH_TIMEOUT(desktop->text().contains(QStringLiteral("1 / 2")), patience);
    QVERIFY(!desktop->text().contains(QStringLiteral("Fog lifts")));
    // The page is drawn: its own background is what the user sees most of.
    QTRY_VERIFY_WITH_TIMEOUT(
        Desktop::output(QStringLiteral("import"),
                        {QStringLiteral("-window"), window, QStringLiteral("-depth"),
                         QStringLiteral("8"), QStringLiteral("-format"),
                         QStringLiteral("%[hex:p{100,150}]"), QStringLiteral("info:-")})
            .startsWith("20C040"),
        patience);
}

void NewsWindowTest::keysInThePageCloseTheWindowAndTheHostGoesOn_data() {
    QTest::addColumn<QString>("key");
    QTest::newRow("Escape") << QStringLiteral("Escape");
    QTest::newRow("Ctrl+W") << QStringLiteral("ctrl+w");
}

void NewsWindowTest::keysInThePageCloseTheWindowAndTheHostGoesOn() {
    QFETCH(const QString, key);
    open();
    clickIntoThePage();
    Desktop::press(window, key);
    QTRY_VERIFY_WITH_TIMEOUT(desktop->newsWindow().isEmpty(), patience);
    QVERIFY(desktop->hostIsRunning());
    QVERIFY(desktop->quitHost());
}

void NewsWindowTest::copiesRichTextAlone() {
    open();
    clickIntoThePage();
    Desktop::press(window, QStringLiteral("ctrl+c"));
    const auto clipboard = [](const char *target) {
        return Desktop::output(
            QStringLiteral("xclip"),
            {QStringLiteral("-selection"), QStringLiteral("clipboard"), QStringLiteral("-o"),
             QStringLiteral("-t"), QString::fromLatin1(target)});
    };
    QTRY_VERIFY_WITH_TIMEOUT(clipboard("text/rtf").startsWith("{\\rtf1"), patience);
    QVERIFY2(clipboard("text/rtf").contains("lighthouse"), clipboard("text/rtf").constData());
    const QList<QByteArray> targets = clipboard("TARGETS").split('\n');
    QVERIFY(targets.contains("text/rtf"));
    for (const char *plain : {"text/plain", "text/plain;charset=utf-8", "UTF8_STRING", "STRING"})
        QVERIFY2(!targets.contains(plain), plain);
}

void NewsWindowTest::opensFoldedAndTheTriangleUnfoldsIt() {
    open();
    const QRect folded = Desktop::geometry(window);
    const QSize outer = folded.marginsAdded(Desktop::frame(window)).size();
    // 1440 / 2.5 by 900 / 2.5, less the folded options.
    QVERIFY2(outer.width() >= 576 && outer.height() >= 322,
             qPrintable(QStringLiteral("%1 x %2").arg(outer.width()).arg(outer.height())));

    QPoint triangle;
    for (const auto &each : desktop->seen()) {
        if (each.role == QLatin1String("check box") && each.text == QLatin1String("Show options"))
            triangle = each.place.center();
    }
    QVERIFY(!triangle.isNull());
    Desktop::click(triangle);
    QTRY_COMPARE_WITH_TIMEOUT(Desktop::geometry(window), folded.adjusted(0, 0, 0, 38), patience);
    Desktop::click(triangle);
    QTRY_COMPARE_WITH_TIMEOUT(Desktop::geometry(window), folded, patience);
}

PELORIN_CORE_TEST_MAIN(NewsWindowTest)
#include "NewsWindowTest.moc"
