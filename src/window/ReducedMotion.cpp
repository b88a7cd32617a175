#include "ReducedMotion.h"

#include "platform/BackgroundTask.h"
#include "platform/BusProbe.h"
#include "platform/MainQueue.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QUuid>
#include <QVariantMap>

#include <optional>
#include <utility>

namespace pelorinnews::ReducedMotion {

namespace {

using Settings = QMap<QString, QVariantMap>;

constexpr int portalTimeout = 2000;  // ms

std::optional<Settings> portalSettings(const QDBusConnection &bus) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"),
        QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("ReadAll"));
    call.setAutoStartService(false);
    call << QStringList{QStringLiteral("org.freedesktop.appearance"),
                        QStringLiteral("org.gnome.desktop.interface"),
                        QStringLiteral("org.kde.kdeglobals.KDE")};
    qDBusRegisterMetaType<Settings>();
    const QDBusReply<Settings> reply = bus.call(call, QDBus::Block, portalTimeout);
    return reply.isValid() ? std::optional(reply.value()) : std::nullopt;
}

std::optional<bool> isReduced(const Settings &settings) {
    const auto value = [&settings](const char *group, const char *key) {
        return settings.value(QLatin1String(group)).value(QLatin1String(key));
    };
    const QVariant freedesktop = value("org.freedesktop.appearance", "reduced-motion");
    const QVariant gnome = value("org.gnome.desktop.interface", "enable-animations");
    const QVariant kde = value("org.kde.kdeglobals.KDE", "AnimationDurationFactor");
    if (!freedesktop.isValid() && !gnome.isValid() && !kde.isValid())
        return std::nullopt;
    bool isNumber = false;
    const double factor = kde.toDouble(&isNumber);
    return freedesktop.toUInt() == 1 || (gnome.isValid() && !gnome.toBool()) ||
           (isNumber && factor <= 0);
}

std::optional<bool> askPortal() {
    if (!busAnswers())
        return std::nullopt;
    // A connection of its own: the host's own connection belongs to the host.
    const QString name = QUuid::createUuid().toString();
    std::optional<bool> result;
    {
        const QDBusConnection bus =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
        if (bus.isConnected()) {
            if (const auto settings = portalSettings(bus))
                result = isReduced(*settings);
        }
    }
    QDBusConnection::disconnectFromBus(name);
    return result;
}

}  // namespace

void ask(std::function<void(bool isReduced)> answer) {
    // A bus that hangs blocks the thread, not the window.
    static_cast<void>(BackgroundTask::start(
        "pelorin-motion", [answer = std::move(answer)](const BackgroundTask &) {
            if (const auto result = askPortal())
                MainQueue::dispatchAsync([answer, isReduced = *result] { answer(isReduced); });
        }));
}

}  // namespace pelorinnews::ReducedMotion
