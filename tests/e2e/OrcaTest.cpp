// What a screen reader speaks in the news window.

#include "PanelTestMain.h"
#include "ScreenReader.h"

using namespace pelorinnews::test;

class OrcaTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void speaksTheItemsAndTheControls();
    void speaksWhatIsChosenInTheMenus();
    void speaksTheLinkOfTheFocus();

private:
    /// Performs `action`, and returns whether Orca then speaks all of `texts`.
    template <class Action>
    [[nodiscard]] bool says(const QStringList &texts, Action action) const {
        const qsizetype before = _reader->spoken().size();
        action();
        for (const QString &text : texts) {
            if (!_reader->says(text, before)) {
                qWarning() << "spoken instead:" << _reader->spoken().mid(before);
                return false;
            }
        }
        return true;
    }
    [[nodiscard]] bool says(const QStringList &texts, const char *key) const {
        return says(texts, [this, key] { _panel->press(key); });
    }

    std::unique_ptr<Panel> _panel;
    std::unique_ptr<ScreenReader> _reader;
};

void OrcaTest::init() {
    _panel = std::make_unique<Panel>();
    _reader = std::make_unique<ScreenReader>();
    // Orca receives events only after its first utterance.
    QVERIFY(_reader->says(QStringLiteral("Screen reader on."), 0));
    QList<FeedItem> news = Panel::items(3);
    news[1].category = QStringLiteral("mac pelorin critical");
    news[2].html = QStringLiteral(
        "<p><a href='https://news.invalid/one'>The <b>first</b> link</a> "
        "<a href='https://news.invalid/two'><img alt='A picture' width='9' height='9'></a></p>");
    QVERIFY(says({QStringLiteral("Pelorin News frame."), QStringLiteral("Item 1 label.")},
                 [&] { QVERIFY(_panel->open(news)); }));
}

void OrcaTest::cleanup() {
    _reader.reset();
    _panel.reset();
}

void OrcaTest::speaksTheItemsAndTheControls() {
    QVERIFY(says({QStringLiteral("Item 2 label.")}, [this] {
        Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Next news item"));
    }));
    QVERIFY(says({QStringLiteral("Show options collapsed push button.")}, "Tab"));
    QVERIFY(says({QStringLiteral("Hide options expanded push button.")}, "space"));
    QVERIFY(says({QStringLiteral("Show news on start check box checked.")}, "Tab"));
    QVERIFY(says({QStringLiteral("not checked")}, "space"));
    QVERIFY(says({QStringLiteral("Previous news item push button.")}, "Tab"));
    QVERIFY(says({QStringLiteral("Next news item push button.")}, "Tab"));
}

void OrcaTest::speaksWhatIsChosenInTheMenus() {
    Assistive::press(_panel->desktop.hostProcess(), QStringLiteral("Show options"));
    QTRY_VERIFY(_panel->object("combo box", "All").is("showing"));
    const QString type = QStringLiteral("Type: combo box.");
    const QString show = QStringLiteral("Show: combo box.");
    QVERIFY(says({type, QStringLiteral("All news.")}, "alt+t"));
    QVERIFY(says({type, QStringLiteral("Critical only.")}, "Down"));
    QTRY_COMPARE(_panel->position(), QStringLiteral("1 / 1"));
    QVERIFY(says({type, QStringLiteral("All news.")}, "Up"));
    QVERIFY(says({show, QStringLiteral("All.")}, "Tab"));
    QVERIFY(says({show, QStringLiteral("Last 30 days.")}, "Up"));
    QVERIFY(says({show, QStringLiteral("All.")}, "Down"));

    // Open the list and choose an entry in it.
    QVERIFY(says({QStringLiteral("List with 3 items.")}, "space"));
    QVERIFY(says({QStringLiteral("Last 30 days.")}, "Up"));
    QVERIFY(says({show, QStringLiteral("Last 30 days.")}, "Return"));
}

void OrcaTest::speaksTheLinkOfTheFocus() {
    QVERIFY(says({QStringLiteral("Item 3 label.")}, "alt+Left"));
    QVERIFY(says({QStringLiteral("notification The first link."),
                  QStringLiteral("https://news.invalid/one.")},
                 "Tab"));
    QVERIFY(says(
        {QStringLiteral("notification A picture."), QStringLiteral("https://news.invalid/two.")},
        "Tab"));
    QVERIFY(says({QStringLiteral("notification The first link."),
                  QStringLiteral("https://news.invalid/one.")},
                 "shift+Tab"));
}

PELORIN_PANEL_TEST_MAIN(OrcaTest)
#include "OrcaTest.moc"
