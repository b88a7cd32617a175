// The news window as a user sees it: it opens, closes and opens again, and its content is copied.

#include "PanelTestMain.h"

#include <QFile>

#include <algorithm>

using namespace pelorinnews::test;

class NewsWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { _panel = std::make_unique<Panel>(); }
    void cleanup() { _panel.reset(); }

    void loadsNeitherWindowNorWebEngineBeforeItIsShown();
    void opensByItselfFoldedAndPaintsTheFirstItem();
    void opensByItselfWhateverTheFormats_data();
    void opensByItselfWhateverTheFormats();
    void closesOnItsKeysAndOpensAsItWas_data();
    void closesOnItsKeysAndOpensAsItWas();
    void keepsItsItemWhenTheFocusComesBack();
    void copiesTheWholeItemAsRichTextAlone();

private:
    /// Whether the host's process has loaded a library whose file name begins with `library`.
    [[nodiscard]] bool hasLoaded(const char *library) const {
        QFile maps(QStringLiteral("/proc/%1/maps").arg(_panel->desktop.hostProcess()));
        if (!maps.open(QFile::ReadOnly))
            qFatal("the host's libraries cannot be read");
        return maps.readAll().contains('/' + QByteArray(library));
    }

    /// Whether the host has started the process that runs the web engine.
    [[nodiscard]] bool hasPageProcess() const {
        const QString host = QString::number(_panel->desktop.hostProcess());
        QFile file(QStringLiteral("/proc/%1/task/%1/children").arg(host));
        if (!file.open(QFile::ReadOnly))
            qFatal("the host's child processes cannot be read");
        const QList<QByteArray> children = file.readAll().split(' ');
        return std::any_of(children.begin(), children.end(), [](const QByteArray &each) {
            QFile name(QStringLiteral("/proc/%1/comm").arg(QLatin1String(each)));
            return name.open(QFile::ReadOnly) && name.readAll().startsWith("pelorin-news-pa");
        });
    }

    std::unique_ptr<Panel> _panel;
};

void NewsWindowTest::loadsNeitherWindowNorWebEngineBeforeItIsShown() {
    _panel->desktop.prefer(QStringLiteral("newsShowOnStart"), false);
    _panel->begin(Panel::items(2));
    // The announcement shows that a refresh has completed although no window was shown.
    QTRY_COMPARE(Desktop::displayed(), 1);
    QVERIFY(hasLoaded("PelorinNews.so"));
    QVERIFY(!hasPageProcess());
    QVERIFY(!_panel->isOpen());
    QVERIFY(_panel->objects().isEmpty());
    QVERIFY(_panel->reopen());
    QTRY_COMPARE(_panel->text(), QStringLiteral("Item 1"));
    QCOMPARE(hasPageProcess(), !Panel::withoutWebEngine);
    for (const char *library : {"libQt6WebEngine", "libQt6Quick", "libQt6Qml"})
        QVERIFY2(!hasLoaded(library), library);
}

void NewsWindowTest::opensByItselfFoldedAndPaintsTheFirstItem() {
    QList<FeedItem> news = Panel::items(2);
    news.first().html = QStringLiteral("<body bgcolor='#20c040'><p>Item 1</p></body>");
    QVERIFY(_panel->open(news));
    QTRY_COMPARE(_panel->position(), QStringLiteral("1 / 2"));
    // The page is painted: this pixel shows its background.
    QTRY_COMPARE(Screen::colour(_panel->window, QPoint(100, 150)), QByteArray("20C040"));
    QCOMPARE(hasPageProcess(), !Panel::withoutWebEngine);

    // The first show enlarges the window to at least 1 / 2.5 of the screen in each direction: here
    // to a width of 1440 / 2.5, frame included. The Qt Designer form's height of 460 is more than
    // 900 / 2.5 and stays, minus 38 for the folded options.
    const QMargins frame = Screen::frame(_panel->window);
    const QSize folded(576 - frame.left() - frame.right(), 460 - 38);
    QTRY_COMPARE(Screen::geometry(_panel->window).size(), folded);
    QVERIFY(_panel->object("label", "Show options").is("showing"));
    QCOMPARE(_panel->object("combo box", "All").role, QString());
}

void NewsWindowTest::opensByItselfWhateverTheFormats_data() {
    QTest::addColumn<QStringList>("variables");
    QTest::addColumn<QString>("feedLanguage");
    const auto row = [](const char *variables, const char *feedLanguage) {
        QTest::newRow(variables) << QString::fromLatin1(variables).split(u' ')
                                 << QString::fromLatin1(feedLanguage);
    };
    row("LANG=en_US.UTF-8 LC_TIME=de_DE.UTF-8", "en");
    row("LANG=en_US LANGUAGE=de:en", "de");
    row("LANG=de_DE LANGUAGE=en_US", "en");
    row("LANG=de_DE LC_TIME=C.UTF-8", "de");
}

void NewsWindowTest::opensByItselfWhateverTheFormats() {
    QFETCH(const QStringList, variables);
    QFETCH(const QString, feedLanguage);
    _panel->setLanguage(variables, feedLanguage);
    // A date whose month and weekday have different names in each language.
    QList<FeedItem> news = Panel::items(1);
    news.first().date = QDateTime(QDate(2024, 5, 15), QTime(10, 0), Qt::UTC);
    QVERIFY(_panel->open(news));
}

void NewsWindowTest::closesOnItsKeysAndOpensAsItWas_data() {
    QTest::addColumn<QByteArray>("key");
    QTest::newRow("Escape") << QByteArray("Escape");
    QTest::newRow("Ctrl+W") << QByteArray("ctrl+w");
}

void NewsWindowTest::closesOnItsKeysAndOpensAsItWas() {
    QFETCH(const QByteArray, key);
    QVERIFY(_panel->open(Panel::items(3)));
    QVERIFY(_panel->click("push button", "Next news item"));
    QTRY_COMPARE(_panel->text(), QStringLiteral("Item 2"));
    const QSize size(640, 420);
    Screen::resize(_panel->window, size);
    QTRY_COMPARE(Screen::geometry(_panel->window).size(), size);

    _panel->clickIntoThePage();
    _panel->press(key.constData());
    QTRY_VERIFY(!_panel->isOpen());
    QVERIFY(_panel->desktop.hostIsRunning());

    // The reopened window shows the first item again, in the size that the user chose.
    QVERIFY(_panel->reopen());
    QTRY_COMPARE(_panel->text(), QStringLiteral("Item 1"));
    QCOMPARE(_panel->position(), QStringLiteral("1 / 3"));
    QCOMPARE(Screen::geometry(_panel->window).size(), size);
    QVERIFY(_panel->desktop.quitHost());
}

void NewsWindowTest::keepsItsItemWhenTheFocusComesBack() {
    QVERIFY(_panel->open(Panel::items(3)));
    QVERIFY(_panel->click("push button", "Previous news item"));
    QTRY_COMPARE(_panel->text(), QStringLiteral("Item 3"));
    Screen::activate(_panel->desktop.window(QStringLiteral("Pelorin")));
    QTRY_COMPARE(Screen::activeTitle(), QStringLiteral("Pelorin"));
    Screen::activate(_panel->window);
    QTRY_COMPARE(_panel->focus(), QStringLiteral("push button Previous news item"));
    QCOMPARE(_panel->text(), QStringLiteral("Item 3"));
    QCOMPARE(_panel->position(), QStringLiteral("3 / 3"));
}

void NewsWindowTest::copiesTheWholeItemAsRichTextAlone() {
    QList<FeedItem> news = Panel::items(1);
    news.first().html = QStringLiteral(
        "<p style='font-size:40px'>Here a <b>lighthouse</b> burns</p><p>and fog lifts</p>");
    QVERIFY(_panel->open(news));
    // Select a part of the first line. The whole item is copied all the same.
    const QPoint corner = _panel->content().place.topLeft();
    Screen::drag(corner + QPoint(15, 70), corner + QPoint(200, 70));
    _panel->press("ctrl+c");
    const QString rtf = QStringLiteral("text/rtf");
    QTRY_VERIFY(Screen::clipboard(rtf).startsWith("{\\rtf1"));
    for (const char *part : {"Here", "lighthouse", "burns", "fog lifts"})
        QVERIFY2(Screen::clipboard(rtf).contains(part), part);
    const QList<QByteArray> targets = Screen::clipboard(QStringLiteral("TARGETS")).split('\n');
    QVERIFY(targets.contains("text/rtf"));
    for (const char *plain : {"text/plain", "text/plain;charset=utf-8", "UTF8_STRING", "STRING"})
        QVERIFY2(!targets.contains(plain), plain);
}

PELORIN_PANEL_TEST_MAIN(NewsWindowTest)
#include "NewsWindowTest.moc"
