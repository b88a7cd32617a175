// The address of the link that the pointer or the keyboard focus is on: shown beside the link,
// described to screen readers, and copied with a key.

#include "RendererFixture.h"
#include "TestMain.h"
#include "window/LinkTip.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QTest>
#include <QWheelEvent>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const auto first = QStringLiteral("https://olvane.example/first?a=b");
const auto second = QStringLiteral("mailto:a@olvane.example");

const QPoint onFirst(50, 45);
const QPoint onSecond(50, 120);
const QPoint besideLinks(450, 250);

/// Two links, one below the other.
const QString links = page(QStringLiteral("<p style='margin:0;font-size:60px'>"
                                          "<a href='%1'>MMMM</a><br><a href='%2'>MMMM</a></p>"))
                          .arg(first, second);

}  // namespace

class LinkTipTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void init();
    void cleanup() { _fixture.reset(); }

    void showsTheLinkUnderThePointer();
    void showsTheLinkWithTheFocus();
    void goesWithTheNextInput_data();
    void goesWithTheNextInput();
    void goesWithThePage();
    void doesNotShowForAClickedLink();
    void copiesTheFocusedLinkBeforeTheHovered();
    void copiesNothingWithoutALink();
    void showsWhereAClickLeads_data();
    void showsWhereAClickLeads();
    void isReadable();
    void isANotificationOnlyForTheFocus();
    void namesTheFocusedLink_data();
    void namesTheFocusedLink();

private:
    void show(const QString &html) {
        // The display reports no movement to where the pointer already is.
        QTest::mouseMove(_fixture->target(), besideLinks);
        _fixture->load(html);
        _fixture->waitForColour(besideLinks, ground);
    }
    [[nodiscard]] LinkTip *tip() const { return _fixture->view.findChild<LinkTip *>(); }
    [[nodiscard]] bool isShown() const { return tip() && tip()->isVisible(); }
    [[nodiscard]] QString described() const { return _fixture->view.accessibleDescription(); }
    void tab() const { QTest::keyClick(&_fixture->view, Qt::Key_Tab); }
    [[nodiscard]] bool copy() const {
        QKeyEvent event(QEvent::KeyPress, Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
        return _fixture->view.performKeyEquivalent(event);
    }

    std::unique_ptr<RendererFixture> _fixture;
};

void LinkTipTest::initTestCase_data() {
    QTest::addColumn<Painter>("painter");
    QTest::newRow("web") << Painter::Web;
    QTest::newRow("text") << Painter::Text;
}

void LinkTipTest::init() {
    QFETCH_GLOBAL(const Painter, painter);
    _fixture = std::make_unique<RendererFixture>(painter);
    QGuiApplication::clipboard()->setText(QStringLiteral("before"));
}

void LinkTipTest::showsTheLinkUnderThePointer() {
    show(links);
    QVERIFY(!isShown());
    QTest::mouseMove(_fixture->target(), onFirst);
    QTRY_VERIFY(isShown());
    QVERIFY(!tip()->geometry().contains(onFirst));
    QVERIFY(_fixture->view.rect().contains(tip()->geometry()));
    QCOMPARE(described(), QString());
    QTest::mouseMove(_fixture->target(), besideLinks);
    QTRY_VERIFY(!isShown());
}

void LinkTipTest::showsTheLinkWithTheFocus() {
    show(links);
    tab();
    QTRY_COMPARE(described(), first);
    QTRY_VERIFY(isShown());
    const QRect before = tip()->geometry();
    QVERIFY(_fixture->view.rect().contains(before));
    QVERIFY(!before.contains(onFirst));
    tab();
    QTRY_COMPARE(described(), second);
    QTRY_VERIFY(isShown() && tip()->geometry().top() > before.top());
    QVERIFY(!tip()->geometry().contains(onSecond));
}

void LinkTipTest::goesWithTheNextInput_data() {
    QTest::addColumn<QString>("input");
    for (const char *input : {"key", "press", "wheel", "size", "closing"})
        QTest::newRow(input) << QString::fromLatin1(input);
}

void LinkTipTest::goesWithTheNextInput() {
    QFETCH(const QString, input);
    show(links);
    tab();
    QTRY_VERIFY(isShown());
    if (input == QStringLiteral("key"))
        QTest::keyClick(&_fixture->view, Qt::Key_Down);
    if (input == QStringLiteral("press"))
        QTest::mousePress(_fixture->target(), Qt::LeftButton, {}, besideLinks);
    if (input == QStringLiteral("wheel")) {
        QWheelEvent turn(besideLinks, _fixture->view.mapToGlobal(besideLinks), {}, QPoint(0, -120),
                         Qt::NoButton, {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(_fixture->target(), &turn);
    }
    if (input == QStringLiteral("size"))
        _fixture->view.resize(480, 280);
    if (input == QStringLiteral("closing"))
        _fixture->view.close();
    QTRY_VERIFY(tip()->isHidden());
}

void LinkTipTest::goesWithThePage() {
    show(links);
    tab();
    QTRY_VERIFY(isShown());
    _fixture->load(page(QStringLiteral("No link")));
    QVERIFY(!isShown());
    QCOMPARE(described(), QString());
    QVERIFY(!copy());
}

void LinkTipTest::doesNotShowForAClickedLink() {
    show(links);
    _fixture->click(onFirst);
    QTRY_COMPARE(_fixture->questions.size(), qsizetype{1});
    QTest::mouseMove(_fixture->target(), besideLinks);
    QTest::qWait(300);
    QVERIFY(!isShown());
    QCOMPARE(described(), QString());
}

void LinkTipTest::copiesTheFocusedLinkBeforeTheHovered() {
    show(links);
    QTest::mouseMove(_fixture->target(), onSecond);
    QTRY_VERIFY(copy());
    QCOMPARE(QGuiApplication::clipboard()->text(), second);
    tab();
    QTRY_COMPARE(described(), first);
    QVERIFY(copy());
    QCOMPARE(QGuiApplication::clipboard()->text(), first);
    QVERIFY(isShown());
}

void LinkTipTest::copiesNothingWithoutALink() {
    show(page(QStringLiteral("No link")));
    QVERIFY(!copy());
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("before"));
}

void LinkTipTest::showsWhereAClickLeads_data() {
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("shown");
    QTest::newRow("foreign letters")
        << QStringLiteral("https://\u043elvane.example/") << "https://xn--lvane-iye.example/";
    QTest::newRow("right-to-left mark") << QStringLiteral("https://olvane.example/\u202egpj.exe")
                                        << "https://olvane.example/%E2%80%AEgpj.exe";
    QTest::newRow("user") << "https://bank.example@olvane.example/"
                          << "https://olvane.example/";
    QTest::newRow("script") << "javascript:alert(1)"
                            << "javascript:alert(1)";
    QTest::newRow("relative") << "/a"
                              << "http:///a";
}

void LinkTipTest::showsWhereAClickLeads() {
    QFETCH(const QString, address);
    QFETCH(const QString, shown);
    show(page(QStringLiteral("<p style='margin:0;font-size:60px'>"
                             "<a href='%1'>MMMM</a></p>"))
             .arg(address));
    tab();
    QTRY_COMPARE(described(), shown);
    _fixture->click(onFirst);
    QTRY_COMPARE(_fixture->questions.size(), qsizetype{1});
    QCOMPARE(LinkTip::text(QUrl(_fixture->questions.first().address)), shown);
}

void LinkTipTest::isReadable() {
    show(QString(links).replace(QStringLiteral("first?"), QString(900, QLatin1Char('a'))));
    tab();
    QTRY_VERIFY(isShown());
    QVERIFY(tip()->height() > 2 * tip()->fontMetrics().height());
    QVERIFY(_fixture->view.rect().contains(tip()->geometry()));
    QVERIFY(!tip()->geometry().contains(onFirst));
    QVERIFY(described().size() < 310 && described().endsWith(QChar(0x2026)));
    QVERIFY(copy());
    QVERIFY(QGuiApplication::clipboard()->text().size() > 900);
}

void LinkTipTest::isANotificationOnlyForTheFocus() {
    const auto role = [this] { return QAccessible::queryAccessibleInterface(tip())->role(); };
    show(links);
    tab();
    QTRY_VERIFY(isShown());
    QCOMPARE(role(), QAccessible::Notification);
    QTest::mouseMove(_fixture->target(), onSecond);
    QTRY_COMPARE(role(), QAccessible::ToolTip);
    tab();
    QTRY_COMPARE(role(), QAccessible::Notification);
}

void LinkTipTest::namesTheFocusedLink_data() {
    QTest::addColumn<QString>("content");
    QTest::addColumn<QString>("name");
    QTest::newRow("text") << " The\n <b>first</b> &lt;link&gt;"
                          << "The first <link>";
    QTest::newRow("picture") << "<img alt='A picture' src='no:picture' width='50' height='50'>"
                             << "A picture";
    QTest::newRow("embedded picture")
        << "<img alt='A\n picture' width='50' height='50' src='data:image/png;base64,iVBORw0KGgoAAA"
           "ANSUhEUgAAAAEAAAABCAIAAACQd1PeAAAADElEQVR4nGM4oKAAAAKkAQHjTKctAAAAAElFTkSuQmCC'>"
        << "A picture";
    QTest::newRow("long") << QString(600, QLatin1Char('a')) << QString(500, QLatin1Char('a'));
    QTest::newRow("nothing") << "<span style='display:inline-block;padding:20px'>\u00a0</span>"
                             << "https://olvane.example/first?a=b";
}

void LinkTipTest::namesTheFocusedLink() {
    QFETCH(const QString, content);
    QFETCH(const QString, name);
    show(page(QStringLiteral("<p style='margin:0;font-size:40px'><a href='%1'>%2</a></p>"))
             .arg(first, content));
    tab();
    QTRY_VERIFY(isShown());
    QCOMPARE(tip()->accessibleName(), name);
    QCOMPARE(tip()->accessibleDescription(), name == first ? QString() : first);
}

PELORIN_WIDGET_TEST_MAIN(LinkTipTest)
#include "LinkTipTest.moc"
