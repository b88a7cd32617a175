#pragma once

#include "NotificationTesting.h"
#include "RecordingDelegate.h"
#include "notifications/DesktopNotificationCenter.h"

#include <QTemporaryDir>
#include <QTest>

namespace pelorinnews::test {

/// The base of the tests that use a real notification server: a centre with its delegate, on a bus
/// and with a state folder of its own.
class DaemonTest : public QObject {
protected:
    /// Makes the state folder and the bus, starts the server and makes the centre.
    void start(const QString &program, const QStringList &arguments = {}) {
        if (!home)
            home = std::make_unique<QTemporaryDir>();
        bus = std::make_unique<PrivateBus>();
        startDaemon(program, arguments);
        startCenter();
    }

    /// Starts the server and waits until it has its name on the bus.
    void startDaemon(const QString &program, const QStringList &arguments) {
        daemon = std::make_unique<BusProgram>(*bus, program, arguments);
        QTRY_VERIFY(bus->hasNotificationServer());
    }

    void startCenter() {
        center = std::make_unique<DesktopNotificationCenter>(sender());
        delegate = std::make_shared<RecordingDelegate>();
        center->setDelegate(delegate);
    }

    /// Ends everything that `start` began.
    void stop() {
        center.reset();
        daemon.reset();
        bus.reset();
        home.reset();
    }

    [[nodiscard]] NotificationSender sender() const {
        return senderOn(*bus, home->filePath(QStringLiteral("state")));
    }

    [[nodiscard]] std::vector<RegistryEntry> registered() const {
        return registeredIn(sender().stateFolder);
    }

    /// The titles in the registry.
    [[nodiscard]] QStringList registeredTitles() const {
        QStringList titles;
        for (const RegistryEntry &entry : registered())
            titles.append(entry.notification.title);
        return titles;
    }

    std::unique_ptr<QTemporaryDir> home;
    std::unique_ptr<PrivateBus> bus;
    std::unique_ptr<BusProgram> daemon;
    std::unique_ptr<DesktopNotificationCenter> center;
    std::shared_ptr<RecordingDelegate> delegate;
};

}  // namespace pelorinnews::test
