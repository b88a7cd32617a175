// What is left of the window in colours of high contrast: texts, arrows, outlines and the
// keyboard's focus must be seen. Contrasts are those of the Web Content Accessibility Guidelines
// (WCAG) 2.1.

#include "TestMain.h"
#include "WindowTest.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QScopeGuard>
#include <QStyleOptionButton>

#include <algorithm>
#include <cmath>
#include <map>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

double luminance(QRgb colour) {
    const auto linear = [](int value) {
        const double part = value / 255.0;
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) +
           0.0722 * linear(qBlue(colour));
}

/// From 1 to 21.
double contrast(QRgb one, QRgb other) {
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

/// The largest contrast of a pixel in `part` with the colour that most of its pixels have.
double contrastWithin(const QImage &picture, const QRect &part) {
    std::map<QRgb, int> counts;
    for (int y = part.top(); y <= part.bottom(); ++y)
        for (int x = part.left(); x <= part.right(); ++x)
            ++counts[picture.pixel(x, y)];
    const QRgb ground =
        std::max_element(counts.begin(), counts.end(), [](const auto &one, const auto &other) {
            return one.second < other.second;
        })->first;
    double best = 1;
    for (const auto &[colour, count] : counts)
        best = std::max(best, contrast(colour, ground));
    return best;
}

/// The contrast between the pixels around `part` and the most different of the two pixels at its
/// edge, in the middle of its left side.
double contrastAtEdge(const QImage &picture, const QRect &part) {
    const int y = part.center().y();
    const QRgb outside = picture.pixel(part.left() - 2, y);
    return std::max(contrast(picture.pixel(part.left(), y), outside),
                    contrast(picture.pixel(part.left() + 1, y), outside));
}

/// How many pixels of `part` differ by a contrast of 3 or more.
int countDifferent(const QImage &one, const QImage &other, const QRect &part) {
    int count = 0;
    for (int y = part.top(); y <= part.bottom(); ++y)
        for (int x = part.left(); x <= part.right(); ++x)
            count += contrast(one.pixel(x, y), other.pixel(x, y)) >= 3;
    return count;
}

QRect placeOf(const QWidget &part) {
    return {part.mapTo(part.window(), QPoint()), part.size()};
}

}  // namespace

class ContrastTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void initTestCase();
    void cleanupTestCase() { QApplication::setPalette(_ordinary); }
    void textsAndArrows();
    void outlines();
    void focus();
    void status();
    void ordinaryColoursAreUntouched();

private:
    void prepare() override;
    [[nodiscard]] std::shared_ptr<OlvNewsWindowController> withOptions();

    const QPalette _ordinary = QApplication::palette();
};

void ContrastTest::initTestCase_data() {
    QTest::addColumn<QColor>("text");
    QTest::addColumn<QColor>("ground");
    QTest::addColumn<QColor>("highlight");
    QTest::newRow("black on white") << QColor(Qt::black) << QColor(Qt::white) << QColor(Qt::blue);
    QTest::newRow("white on black") << QColor(Qt::white) << QColor(Qt::black) << QColor(Qt::cyan);
    QTest::newRow("yellow on black")
        << QColor(Qt::yellow) << QColor(Qt::black) << QColor(Qt::green);
    QTest::newRow("black on yellow")
        << QColor(Qt::black) << QColor(Qt::yellow) << QColor(Qt::black);
    QTest::newRow("white on navy") << QColor(Qt::white) << QColor(0, 0, 0x80) << QColor(Qt::white);
}

// The options fold by themselves when a process first shows the window.
void ContrastTest::initTestCase() {
    WindowFixture fixture;
    const auto controller = fixture.shown(WindowFixture::items(1));
    QTRY_VERIFY(controller->displayContentFrom()->isHidden());
}

void ContrastTest::prepare() {
    QFETCH_GLOBAL(const QColor, text);
    QFETCH_GLOBAL(const QColor, ground);
    QFETCH_GLOBAL(const QColor, highlight);
    QPalette colours(text, ground, text, text, text, text, text, ground, ground);
    colours.setColor(QPalette::Highlight, highlight);
    colours.setColor(QPalette::HighlightedText, ground);
    QApplication::setPalette(colours);
}

std::shared_ptr<OlvNewsWindowController> ContrastTest::withOptions() {
    auto controller = _fixture->shown(WindowFixture::items(3));
    if (controller->displayContentFrom()->isHidden())
        controller->onOptionsButton();
    const auto *area = controller->window()->findChild<QWidget *>(QStringLiteral("optionsArea"));
    if (!QTest::qWaitFor([&] {
            return controller->displayContentFrom()->isVisible() &&
                   area->geometry().bottom() < controller->window()->height() &&
                   controller->nextItem()->isEnabled();
        }))
        qFatal("the options do not unfold");
    return controller;
}

void ContrastTest::textsAndArrows() {
    const auto controller = withOptions();
    const OlvNewsWindow *window = controller->window();
    const QImage picture = controller->window()->grab().toImage();
    int count = 0;
    for (const auto *label : window->findChildren<QLabel *>()) {
        if (!label->isVisible() || label->text().isEmpty())
            continue;
        QVERIFY2(contrastWithin(picture, placeOf(*label)) >= 7, qPrintable(label->text()));
        ++count;
    }
    QCOMPARE(count, 4);
    QVERIFY(contrastWithin(picture, placeOf(*controller->showOnStart())) >= 7);
    QVERIFY(contrastWithin(picture, placeOf(*controller->displayContentFrom())) >= 4.5);
    for (const QWidget *arrow : {static_cast<const QWidget *>(controller->optionsButton()),
                                 static_cast<const QWidget *>(controller->previousItem()),
                                 static_cast<const QWidget *>(controller->nextItem())})
        QVERIFY2(contrastWithin(picture, placeOf(*arrow)) >= 3, qPrintable(arrow->objectName()));
}

void ContrastTest::outlines() {
    const auto controller = withOptions();
    auto *const box = qobject_cast<QCheckBox *>(controller->showOnStart());
    QVERIFY(box);
    box->setChecked(false);
    const QImage picture = controller->window()->grab().toImage();
    // Ordinary outlines have 1.7 to 2.
    constexpr double enough = 1.6;
    QStyleOptionButton option;
    option.initFrom(box);
    const QRect indicator =
        box->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, box);
    QVERIFY(contrastAtEdge(picture, indicator.translated(placeOf(*box).topLeft())) >= enough);
    for (const QWidget *control : {static_cast<const QWidget *>(controller->previousItem()),
                                   static_cast<const QWidget *>(controller->nextItem()),
                                   static_cast<const QWidget *>(controller->displayContentFrom())})
        QVERIFY2(contrastAtEdge(picture, placeOf(*control)) >= enough,
                 qPrintable(control->objectName()));
}

void ContrastTest::focus() {
    const auto controller = withOptions();
    OlvNewsWindow *window = controller->window();
    controller->webView()->setFocus();
    const QImage before = window->grab().toImage();
    QSet<QWidget *> seen;
    // Styles show the focus only after the keyboard has moved it.
    for (QTest::keyClick(controller->webView(), Qt::Key_Tab);
         QApplication::focusWidget() != controller->webView();
         QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab)) {
        QWidget *control = QApplication::focusWidget();
        QVERIFY(control);
        QVERIFY2(!seen.contains(control), qPrintable(control->objectName()));
        seen.insert(control);
        const int different = countDifferent(before, window->grab().toImage(), placeOf(*control));
        QVERIFY2(
            different >= 40,
            qPrintable(QStringLiteral("%1: %2 pixels").arg(control->objectName()).arg(different)));
    }
    QCOMPARE(seen.size(), 6);
}

void ContrastTest::status() {
    const auto controller = _fixture->shown({});
    const QImage picture = controller->window()->grab().toImage();
    QVERIFY(contrastWithin(picture, placeOf(*controller->webView())) >= 7);
}

void ContrastTest::ordinaryColoursAreUntouched() {
    QApplication::setPalette(_ordinary);
    const auto controller = withOptions();
    const auto *window = controller->window();
    for (const QWidget *control : window->findChildren<QWidget *>())
        QCOMPARE(control->palette().color(QPalette::Window),
                 window->palette().color(QPalette::Window));
}

PELORIN_WIDGET_TEST_MAIN(ContrastTest)
#include "ContrastTest.moc"
