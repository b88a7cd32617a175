// No animation where the desktop's settings portal says that the user wants none. The portal is
// played by the test, on a real bus.

#include "TestMain.h"
#include "WindowFixture.h"
#include "window/ReducedMotion.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QWindow>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

using Settings = QMap<QString, QVariantMap>;

/// Answers as a desktop's settings portal does.
class Portal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    Settings settings;
    int calls = 0;

public Q_SLOTS:
    QMap<QString, QVariantMap> ReadAll(const QStringList &groups) {
        ++calls;
        Settings result;
        for (const QString &group : groups) {
            if (settings.contains(group))
                result.insert(group, settings.value(group));
        }
        return result;
    }
};

const auto freedesktop = QStringLiteral("org.freedesktop.appearance");
const auto gnome = QStringLiteral("org.gnome.desktop.interface");
const auto kde = QStringLiteral("org.kde.kdeglobals.KDE");
const auto portalName = QStringLiteral("org.freedesktop.portal.Desktop");

QVariantMap one(const char *key, const QVariant &value) {
    return {{QLatin1String(key), value}};
}

}  // namespace

class ReducedMotionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void isWhatTheDesktopSays_data();
    void isWhatTheDesktopSays();
    void withoutASettingThereIsNoAnswer();
    void theOptionsFoldAtOnce_data();
    void theOptionsFoldAtOnce();

private:
    Portal _portal;
};

void ReducedMotionTest::initTestCase() {
    qDBusRegisterMetaType<Settings>();
    auto bus = QDBusConnection::sessionBus();
    QVERIFY(bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &_portal,
                               QDBusConnection::ExportAllSlots));
    QVERIFY(bus.registerService(portalName));
}

void ReducedMotionTest::cleanup() {
    _portal.settings.clear();
}

void ReducedMotionTest::isWhatTheDesktopSays_data() {
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<bool>("isReduced");
    QTest::newRow("reduced") << Settings{{freedesktop, one("reduced-motion", 1U)}} << true;
    QTest::newRow("not reduced") << Settings{{freedesktop, one("reduced-motion", 0U)}} << false;
    QTest::newRow("GNOME, off") << Settings{{gnome, one("enable-animations", false)}} << true;
    QTest::newRow("GNOME, on") << Settings{{gnome, one("enable-animations", true)}} << false;
    QTest::newRow("KDE, off") << Settings{{kde, one("AnimationDurationFactor", "0")}} << true;
    QTest::newRow("KDE, slower") << Settings{{kde, one("AnimationDurationFactor", "2")}} << false;
    QTest::newRow("KDE, no number")
        << Settings{{kde, one("AnimationDurationFactor", "x")}} << false;
}

void ReducedMotionTest::isWhatTheDesktopSays() {
    QFETCH(const Settings, settings);
    _portal.settings = settings;
    std::optional<bool> answer;
    ReducedMotion::ask([&answer](bool isReduced) { answer = isReduced; });
    QVERIFY(!answer);
    QTRY_VERIFY(answer);
    QTEST(*answer, "isReduced");
}

void ReducedMotionTest::withoutASettingThereIsNoAnswer() {
    _portal.settings = {{freedesktop, one("color-scheme", 1U)}};
    const int before = _portal.calls;
    bool isAnswered = false;
    ReducedMotion::ask([&isAnswered](bool) { isAnswered = true; });
    QTRY_COMPARE(_portal.calls, before + 1);
    // An answer to a later question comes later.
    _portal.settings = {{freedesktop, one("reduced-motion", 0U)}};
    bool isLaterAnswered = false;
    ReducedMotion::ask([&isLaterAnswered](bool) { isLaterAnswered = true; });
    QTRY_VERIFY(isLaterAnswered);
    QVERIFY(!isAnswered);
}

void ReducedMotionTest::theOptionsFoldAtOnce_data() {
    QTest::addColumn<bool>("isReduced");
    QTest::newRow("reduced") << true;
    QTest::newRow("not reduced") << false;
}

void ReducedMotionTest::theOptionsFoldAtOnce() {
    QFETCH(const bool, isReduced);
    _portal.settings = {{gnome, one("enable-animations", !isReduced)}};
    WindowFixture fixture;
    const int before = _portal.calls;
    const auto controller = fixture.shown(WindowFixture::items(2));
    QTRY_VERIFY(_portal.calls > before);
    const auto *area = controller->window()->findChild<QWidget *>(QStringLiteral("optionsArea"));
    QTRY_VERIFY(area->isHidden());
    const int folded = controller->window()->height();
    // The answer has been sent, but it may not have arrived.
    const auto becomes = [&](int height) {
        // The desktop has answered, too.
        const OlvNewsWindow *window = controller->window();
        return QTest::qWaitFor(
            [=] {
                return window->height() == height && window->windowHandle()->height() == height;
            },
            testPatience);
    };
    const auto unfoldsAtOnce = [&] {
        controller->onOptionsButton();
        const bool atOnce = controller->window()->height() == folded + 38;
        if (!becomes(folded + 38))
            qFatal("the options do not unfold");
        controller->onOptionsButton();
        if (!becomes(folded))
            qFatal("the options do not fold");
        return atOnce;
    };
    QTRY_COMPARE(unfoldsAtOnce(), isReduced);
    QCOMPARE(unfoldsAtOnce(), isReduced);
}

PELORIN_WIDGET_TEST_MAIN(ReducedMotionTest)
#include "ReducedMotionTest.moc"
