// What accessibility clients read of the news window, the disclosure button and the filter menu.
// Each test creates only the widget that it examines.

#include "TestMain.h"
#include "window/DisclosureButton.h"
#include "window/FilterMenu.h"
#include "window/OlvNewsWindow.h"

#include <QAccessible>
#include <QApplication>

using namespace pelorinnews;

class AccessibleControlsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aWindowIsAWindow();
    void aTriangleIsExpandedOrCollapsed();
    void aMenuHasItsEntryAsText();
};

void AccessibleControlsTest::aWindowIsAWindow() {
    OlvNewsWindow window;
    QCOMPARE(QAccessible::queryAccessibleInterface(&window)->role(), QAccessible::Window);
}

void AccessibleControlsTest::aTriangleIsExpandedOrCollapsed() {
    DisclosureButton button;
    QAccessibleInterface *known = QAccessible::queryAccessibleInterface(&button);
    QCOMPARE(known->role(), QAccessible::Button);
    QVERIFY(known->state().expandable);
    QVERIFY(known->state().collapsed);
    QVERIFY(!known->state().expanded);
    known->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QVERIFY(button.isChecked());
    QVERIFY(known->state().expanded);
    QVERIFY(!known->state().collapsed);
}

void AccessibleControlsTest::aMenuHasItsEntryAsText() {
    FilterMenu menu;
    menu.addItems({QStringLiteral("All news"), QStringLiteral("Offers")});
    QAccessibleInterface *known = QAccessible::queryAccessibleInterface(&menu);
    QCOMPARE(known->role(), QAccessible::ComboBox);
    QVERIFY(known->textInterface());
    QCOMPARE(known->textInterface()->text(0, -1), QStringLiteral("All news"));
    menu.setCurrentIndex(1);
    QCOMPARE(known->textInterface()->text(0, -1), QStringLiteral("Offers"));
    QCOMPARE(known->text(QAccessible::Name), QStringLiteral("Offers"));
}

PELORIN_WIDGET_TEST_MAIN(AccessibleControlsTest)
#include "AccessibleControlsTest.moc"
