// The first showing of a window that is large enough in one direction or in both. A process has
// only one first showing, so each case runs in a process of its own: this program again.

#include "TestMain.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QProcess>
#include <QScreen>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

constexpr auto casesVariable = "PELORIN_FIRST_SHOW";

}  // namespace

class FirstShowLargeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsWhatIsLargeEnough_data();
    void keepsWhatIsLargeEnough();
};

void FirstShowLargeTest::keepsWhatIsLargeEnough_data() {
    QTest::addColumn<QSize>("before");
    // On a screen of 800 by 800; 320 by 320 are enough.
    QTest::newRow("both ways") << QSize(700, 700);
    QTest::newRow("in width only") << QSize(700, 290);
}

void FirstShowLargeTest::keepsWhatIsLargeEnough() {
    if (!qEnvironmentVariableIsSet(casesVariable)) {
        QProcess alone;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(casesVariable), QStringLiteral("1"));
        alone.setProcessEnvironment(environment);
        alone.setProcessChannelMode(QProcess::MergedChannels);
        alone.start(
            QCoreApplication::applicationFilePath(),
            {QStringLiteral("keepsWhatIsLargeEnough:") + QLatin1String(QTest::currentDataTag())});
        QVERIFY(alone.waitForFinished(2 * testPatience));
        QVERIFY2(alone.exitStatus() == QProcess::NormalExit && alone.exitCode() == 0,
                 alone.readAll().constData());
        return;
    }
    QFETCH(const QSize, before);
    QCOMPARE(QGuiApplication::primaryScreen()->size(), QSize(800, 800));
    WindowFixture fixture;
    const auto controller = fixture.unshown(WindowFixture::items(2));
    OlvNewsWindow *window = controller->window();
    QVERIFY(window);
    window->setGeometry(QRect(QPoint(20, 60), before));
    QCOMPARE(window->size(), before);
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    const int frame = window->frameGeometry().height() - window->height();
    QTRY_COMPARE(window->frameGeometry().height(), qMax(before.height() + frame, 320) - 38);
    QCOMPARE(window->width(), before.width());
    QCOMPARE(window->geometry().left(), 20);
    QCOMPARE(window->geometry().bottom(), 60 + before.height() - 1 - 38);
}

PELORIN_WIDGET_TEST_MAIN(FirstShowLargeTest)
#include "FirstShowLargeTest.moc"
