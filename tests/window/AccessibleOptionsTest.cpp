// What screen readers are told about the options and the button that folds them.

#include "TestMain.h"
#include "WindowTest.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

#include <private/qguiapplication_p.h>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

/// Counts the accessibility events of one widget. Only one instance may exist at a time, because it
/// records into static members.
class AccessibleEvents {
public:
    explicit AccessibleEvents(QWidget *widget) {
        watched = widget;
        types.clear();
        // Qt sends these events only while accessibility is active.
        setActive(true);
        _before = QAccessible::installUpdateHandler([](QAccessibleEvent *event) {
            if (event->object() == watched)
                types.append(event->type());
        });
    }
    AccessibleEvents(const AccessibleEvents &) = delete;
    AccessibleEvents &operator=(const AccessibleEvents &) = delete;
    ~AccessibleEvents() {
        QAccessible::installUpdateHandler(_before);
        setActive(false);
    }

    [[nodiscard]] static qsizetype count(QAccessible::Event type) { return types.count(type); }

private:
    static void setActive(bool active) {
        QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(active);
    }

    static inline QWidget *watched = nullptr;
    static inline QList<QAccessible::Event> types;
    QAccessible::UpdateHandler _before;
};

/// The accessible name that the button has once its options are completely folded or unfolded.
QString nameFor(const QAbstractButton &button) {
    return WindowFixture::localized(button.isChecked() ? "SettingsHideOptions"
                                                       : "SettingsShowOptions");
}

}  // namespace

class AccessibleOptionsTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void theFocusedButtonIsSpokenAgainWithItsNewName();
    void openingTheWindowAgainChangesNoName();
    void theListsOfTheMenusAreNamedAfterTheirLabels();
};

void AccessibleOptionsTest::theFocusedButtonIsSpokenAgainWithItsNewName() {
    const auto controller = _fixture->shown(WindowFixture::items(2));
    QAbstractButton *button = controller->optionsButton();
    QTRY_COMPARE(button->accessibleName(), nameFor(*button));
    button->setFocus();
    QTRY_VERIFY(button->hasFocus());
    const AccessibleEvents events(button);
    const QString before = button->accessibleName();
    controller->onOptionsButton();
    QTRY_COMPARE(button->accessibleName(), nameFor(*button));
    QVERIFY(button->accessibleName() != before);
    QTRY_COMPARE(events.count(QAccessible::Focus), 1);
}

void AccessibleOptionsTest::openingTheWindowAgainChangesNoName() {
    const auto controller = _fixture->shown(WindowFixture::items(2));
    QAbstractButton *button = controller->optionsButton();
    QTRY_COMPARE(button->accessibleName(), nameFor(*button));
    controller->onNextItem();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("2 / 2"));
    const AccessibleEvents events(button);
    controller->window()->performClose();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    QCOMPARE(events.count(QAccessible::NameChanged), 0);
}

void AccessibleOptionsTest::theListsOfTheMenusAreNamedAfterTheirLabels() {
    const auto controller = _fixture->shown(WindowFixture::items(1));
    QCOMPARE(controller->displayContentType()->view()->accessibleName(), QStringLiteral("Type:"));
    QCOMPARE(controller->displayContentFrom()->view()->accessibleName(), QStringLiteral("Show:"));
}

PELORIN_WIDGET_TEST_MAIN(AccessibleOptionsTest)
#include "AccessibleOptionsTest.moc"
