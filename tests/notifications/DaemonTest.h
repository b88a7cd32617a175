#pragma once

#include "NotificationTesting.h"
#include "RecordingDelegate.h"
#include "notifications/DesktopNotificationCenter.h"

#include <QTemporaryDir>
#include <QTest>

namespace pelorinnews::test {

/// Base class of the tests that use a real notification server. Owns a notification centre and its
/// delegate, and a message bus and a state folder that only this test uses.
class DaemonTest : public QObject {
protected:
    /// Creates the state folder and the bus, starts the server and creates the centre.
    void start(const QString &program, const QStringList &arguments = {}) {
        if (!_home)
            _home = std::make_unique<QTemporaryDir>();
        _bus = std::make_unique<PrivateBus>();
        startDaemon(program, arguments);
        startCenter();
    }

    /// Starts the server and waits until it has its name on the bus.
    void startDaemon(const QString &program, const QStringList &arguments) {
        _daemon = std::make_unique<BusProgram>(*_bus, program, arguments);
        QTRY_VERIFY(_bus->hasNotificationServer());
    }

    void startCenter() {
        _center = std::make_unique<DesktopNotificationCenter>(sender());
        _delegate = std::make_shared<RecordingDelegate>();
        _center->setDelegate(_delegate);
    }

    /// Ends everything that `start` began.
    void stop() {
        _center.reset();
        _daemon.reset();
        _bus.reset();
        _home.reset();
    }

    [[nodiscard]] NotificationSender sender() const {
        return senderOn(*_bus, _home->filePath(QStringLiteral("state")));
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

    std::unique_ptr<QTemporaryDir> _home;
    std::unique_ptr<PrivateBus> _bus;
    std::unique_ptr<BusProgram> _daemon;
    std::unique_ptr<DesktopNotificationCenter> _center;
    std::shared_ptr<RecordingDelegate> _delegate;
};

}  // namespace pelorinnews::test
