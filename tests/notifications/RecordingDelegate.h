#pragma once

#include "pelorinnews/NotificationCenter.h"

#include <QCoreApplication>
#include <QThread>

namespace pelorinnews::test {

/// A delegate that records its calls, and whether one of them was not on the main thread.
class RecordingDelegate : public NotificationCenterDelegate {
public:
    bool userNotificationCenterShouldPresentNotification(
        const UserNotification &notification) override {
        noteThread();
        asked.append(notification);
        return presents;
    }

    void userNotificationCenterDidActivateNotification(
        const UserNotification &notification) override {
        noteThread();
        activated.append(notification);
    }

    QList<UserNotification> asked;
    QList<UserNotification> activated;
    bool presents = true;
    bool wasOffMainThread = false;

private:
    void noteThread() {
        if (QThread::currentThread() != QCoreApplication::instance()->thread())
            wasOffMainThread = true;
    }
};

}  // namespace pelorinnews::test
