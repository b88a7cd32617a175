// The content view as accessibility clients read and change it.

#include "TestMain.h"
#include "window/OlvNewsWebView.h"

#include <QAccessible>
#include <QApplication>
#include <QScopeGuard>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

#include <private/qguiapplication_p.h>

using namespace pelorinnews;

class AccessibleViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void answersItsAttributes();
    void aFixedTextStandsForAnAbsentValue();
    void otherAttributesCannotBeSet();
    void aClientReplacesTheValue();
};

void AccessibleViewTest::answersItsAttributes() {
    OlvNewsWebView view;
    QCOMPARE(view.accessibilityAttributeValue(AccessibilityAttribute::Role).toInt(),
             static_cast<int>(QAccessible::StaticText));
    QVERIFY(!view.accessibilityAttributeValue(AccessibilityAttribute::Title).isValid());
    QVERIFY(view.accessibilityIsAttributeSettable(AccessibilityAttribute::Value));
    for (const auto attribute : {AccessibilityAttribute::Role, AccessibilityAttribute::Title,
                                 AccessibilityAttribute::Other})
        QVERIFY(!view.accessibilityIsAttributeSettable(attribute));
}

void AccessibleViewTest::aFixedTextStandsForAnAbsentValue() {
    OlvNewsWebView view;
    const auto value = [&view] {
        return view.accessibilityAttributeValue(AccessibilityAttribute::Value).toString();
    };
    QCOMPARE(value(), QStringLiteral("Pelorin News content"));
    view.accessibilitySetValueForAttribute(QStringLiteral("Fog"), AccessibilityAttribute::Value);
    QCOMPARE(value(), QStringLiteral("Fog"));
    view.accessibilitySetValueForAttribute(QStringLiteral(""), AccessibilityAttribute::Value);
    QCOMPARE(value(), QStringLiteral("Pelorin News content"));
}

void AccessibleViewTest::otherAttributesCannotBeSet() {
    static QList<QAccessible::Event> told;
    // Qt sends these events only while accessibility is active.
    QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(true);
    const auto before = QAccessible::installUpdateHandler(
        [](QAccessibleEvent *event) { told.append(event->type()); });
    const auto restore = qScopeGuard([before] {
        QAccessible::installUpdateHandler(before);
        QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(false);
    });
    OlvNewsWebView view;
    view.accessibilitySetValueForAttribute(QStringLiteral("Fog"), AccessibilityAttribute::Value);
    QVERIFY(told.contains(QAccessible::NameChanged));
    told.clear();
    for (const auto attribute : {AccessibilityAttribute::Role, AccessibilityAttribute::Title,
                                 AccessibilityAttribute::Other})
        view.accessibilitySetValueForAttribute(QStringLiteral("Sun"), attribute);
    QCOMPARE(view.ownValue(), QStringLiteral("Fog"));
    QCOMPARE(told, QList<QAccessible::Event>());
}

void AccessibleViewTest::aClientReplacesTheValue() {
    OlvNewsWebView view;
    QAccessibleInterface *known = QAccessible::queryAccessibleInterface(&view);
    QAccessibleEditableTextInterface *text = known->editableTextInterface();
    QVERIFY(text);
    text->deleteText(0, -1);
    text->insertText(0, QStringLiteral("Fog"));
    QCOMPARE(view.ownValue(), QStringLiteral("Fog"));
    text->replaceText(1, 2, QStringLiteral("i"));
    QCOMPARE(view.ownValue(), QStringLiteral("Fig"));
    text->insertText(1000, QStringLiteral("s"));
    QCOMPARE(view.ownValue(), QStringLiteral("Figs"));
    known->setText(QAccessible::Value, QStringLiteral("Sun"));
    QCOMPARE(view.ownValue(), QStringLiteral("Sun"));
    QCOMPARE(known->childCount(), 0);
}

PELORIN_WIDGET_TEST_MAIN(AccessibleViewTest)
#include "AccessibleViewTest.moc"
