// The window in each language: its texts, its direction, and whether the texts fit their controls.

#include "TestMain.h"
#include "WindowTest.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QProcess>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QToolButton>
#include <QtMath>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

constexpr auto caseVariable = "PELORIN_LANGUAGES_TEST";

// What a menu's field has room for.
QSize fieldSize(const QComboBox &menu) {
    QStyleOptionComboBox option;
    option.initFrom(&menu);
    option.editable = false;
    option.subControls = QStyle::SC_All;
    return menu.style()
        ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &menu)
        .size();
}

// The width of the widest entry.
int widestEntry(const QComboBox &menu) {
    int width = 0;
    for (int index = 0; index < menu.count(); ++index)
        width = qMax(width, menu.fontMetrics().horizontalAdvance(menu.itemText(index)));
    return width;
}

// The first column from the left that is not empty. The left edge is left out: it may have a frame.
int firstDrawnColumn(const QImage &image) {
    constexpr int edge = 3;
    const QRgb background = image.pixel(edge, image.height() / 2);
    for (int column = edge; column < image.width(); ++column) {
        for (int line = edge; line < image.height() - edge; ++line) {
            if (image.pixel(column, line) != background)
                return column;
        }
    }
    return image.width();
}

// The width of a text as Qt draws it: in pieces, if it has a mnemonic.
int drawnWidth(const QFont &font, const QString &text) {
    const QFontMetricsF metrics(font);
    const qsizetype mark = text.indexOf(u'&');
    if (mark < 0)
        return qFloor(metrics.horizontalAdvance(text));
    return qFloor(metrics.horizontalAdvance(text.first(mark)) +
                  metrics.horizontalAdvance(text.mid(mark + 1, 1)) +
                  metrics.horizontalAdvance(text.mid(mark + 2)));
}

bool fits(const QLabel &label) {
    return label.width() >= drawnWidth(label.font(), label.text()) &&
           label.height() >= label.fontMetrics().height();
}

bool fits(const QAbstractButton &box) {
    QStyleOptionButton option;
    option.initFrom(&box);
    const QRect room = box.style()->subElementRect(QStyle::SE_CheckBoxContents, &option, &box);
    return room.width() >= drawnWidth(box.font(), box.text()) &&
           room.height() >= box.fontMetrics().height();
}

}  // namespace

class LanguagesTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void textsFitTheirControls_data();
    void textsFitTheirControls();
    void arabicIsWrittenFromRightToLeft();
    void aLeftToRightLanguageStaysSoInAHostFromRightToLeft();

private:
    static bool speaks(const QByteArray &language, int fontScale = 1);
};

// Runs the current test function in a process of its own, in this language and with a font of this
// size: Qt reads both only once. Returns whether this is that process.
bool LanguagesTest::speaks(const QByteArray &language, int fontScale) {
    if (qEnvironmentVariableIsSet(caseVariable))
        return true;
    QProcess alone;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(caseVariable), QStringLiteral("1"));
    environment.insert(QStringLiteral("LANGUAGE"), QString::fromLatin1(language));
    environment.insert(QStringLiteral("QT_FONT_DPI"), QString::number(96 * fontScale));
    environment.insert(QStringLiteral("QT_ENABLE_HIGHDPI_SCALING"), QStringLiteral("0"));
    alone.setProcessEnvironment(environment);
    alone.setProcessChannelMode(QProcess::MergedChannels);
    QString function = QString::fromLatin1(QTest::currentTestFunction());
    if (QTest::currentDataTag())
        function += u':' + QString::fromLatin1(QTest::currentDataTag());
    alone.start(QCoreApplication::applicationFilePath(), {function});
    const bool ended = alone.waitForFinished(4 * testPatience);
    if (!ended || alone.exitStatus() != QProcess::NormalExit || alone.exitCode() != 0)
        QTest::qFail(alone.readAll().constData(), __FILE__, __LINE__);
    return false;
}

void LanguagesTest::textsFitTheirControls_data() {
    QTest::addColumn<QByteArray>("language");
    QTest::addColumn<int>("fontScale");
    for (const char *const language : {"ar", "cs", "de", "en", "es", "fr", "it", "ja", "ko", "nl",
                                       "pl", "pt_BR", "ru", "zh_CN"}) {
        for (const int scale : {1, 2})
            QTest::addRow("%s, %d %%", language, 100 * scale) << QByteArray(language) << scale;
    }
}

void LanguagesTest::textsFitTheirControls() {
    QFETCH(const QByteArray, language);
    QFETCH(const int, fontScale);
    if (!speaks(language, fontScale))
        return;
    const auto controller = _fixture->shown(WindowFixture::items(88));
    OlvNewsWindow *window = controller->window();
    QCOMPARE(window->windowTitle(), WindowFixture::localized("WindowTitle"));
    QVERIFY(language == "en" || controller->showOnStart()->text() != "&Show news on start");
    if (controller->displayContentFrom()->isHidden())
        controller->onOptionsButton();
    QTRY_VERIFY(controller->displayContentFrom()->isVisible());
    window->resize(10, 10);
    QTRY_COMPARE(window->width(), window->minimumWidth());

    // The label must have room for its longer text, the folded one too.
    const QFontMetrics label = controller->optionsLabel()->fontMetrics();
    for (const char *const key : {"SettingsShowOptions", "SettingsHideOptions"}) {
        const QString text = WindowFixture::localized(key);
        QVERIFY2(controller->optionsLabel()->width() >= label.horizontalAdvance(text), key);
    }
    QVERIFY(fits(*controller->optionsLabel()));
    QVERIFY(fits(*controller->showOnStart()));
    QVERIFY(fits(*controller->itemIndicator()));
    QVERIFY(fits(*controller->displayContentTypeLabel()));
    QVERIFY(fits(*controller->displayContentFromLabel()));
    for (const QComboBox *menu :
         {controller->displayContentType(), controller->displayContentFrom()}) {
        QVERIFY2(fieldSize(*menu).width() >= widestEntry(*menu), qPrintable(menu->objectName()));
        QVERIFY2(fieldSize(*menu).height() >= menu->fontMetrics().height(),
                 qPrintable(menu->objectName()));
    }
    const auto controls = window->findChildren<QWidget *>();
    for (const QWidget *control : controls) {
        if (control->isVisible() && control->parentWidget()->objectName().endsWith("Area"))
            QVERIFY2(
                window->rect().contains(QRect(control->mapTo(window, QPoint()), control->size())),
                qPrintable(control->objectName()));
    }
    controller->onOptionsButton();
    QTRY_VERIFY(controller->displayContentFrom()->isHidden());
}

void LanguagesTest::arabicIsWrittenFromRightToLeft() {
    if (!speaks("ar"))
        return;
    QCOMPARE(QGuiApplication::layoutDirection(), Qt::LeftToRight);
    const auto controller = _fixture->shown({});
    const OlvNewsWindow *window = controller->window();
    QCOMPARE(window->layoutDirection(), Qt::RightToLeft);
    QVERIFY(controller->nextItem()->x() < controller->previousItem()->x());
    QVERIFY(controller->showOnStart()->x() < controller->optionsButton()->x());
    QVERIFY(controller->nextItem()->toolTip().contains(QStringLiteral("(Alt+\u2190")));
    QVERIFY(controller->previousItem()->toolTip().contains(QStringLiteral("(Alt+\u2192")));
    const QString text = WindowFixture::localized("StatusErrorRetrievingContent");
    QTRY_COMPARE(controller->webView()->outerHTML(),
                 QStringLiteral("<div dir=\"rtl\">%1</div>").arg(text));
    QCOMPARE(controller->webView()->ownValue(), text);
    // A menu's list is a window of its own.
    QComboBox *menu = controller->displayContentFrom();
    menu->setCurrentIndex(0);
    controller->onOptionsButton();
    QTRY_VERIFY(menu->isVisible());
    menu->showPopup();
    QTRY_VERIFY(QApplication::activePopupWidget());
    QCOMPARE(menu->view()->layoutDirection(), Qt::RightToLeft);
    // The shortest entry is at the right edge of its row.
    const QRect row = menu->view()->visualRect(menu->model()->index(2, 0));
    const QImage drawn = menu->view()->viewport()->grab(row).toImage();
    QVERIFY(firstDrawnColumn(drawn) > drawn.width() / 2);
    menu->hidePopup();
    controller->onOptionsButton();
    QTRY_VERIFY(menu->isHidden());
}

void LanguagesTest::aLeftToRightLanguageStaysSoInAHostFromRightToLeft() {
    if (!speaks("de"))
        return;
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    const auto controller = _fixture->shown({});
    QCOMPARE(controller->window()->layoutDirection(), Qt::LeftToRight);
    QTRY_COMPARE(controller->webView()->outerHTML(),
                 WindowFixture::localized("StatusErrorRetrievingContent"));
}

PELORIN_WIDGET_TEST_MAIN(LanguagesTest)
#include "LanguagesTest.moc"
