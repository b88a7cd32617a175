#include "DesktopNotificationCenter.h"

#include "platform/ApplicationEnd.h"
#include "platform/GuardedSlot.h"
#include "platform/HostBundle.h"
#include "platform/MainQueue.h"
#include "platform/ModuleBundle.h"
#include "platform/OlvLocalization.h"

#include <QCoreApplication>
#include <QDir>

#include <utility>

namespace pelorinnews {

namespace {

QString openLabel() {
    OlvLocalization localization;
    localization.setBundle(ModuleBundle::resourceFolder());
    localization.setTable(QStringLiteral("Localizable"));
    return localization.stringForKey(QStringLiteral("NotificationCenterOpen"));
}

// Main thread only.
NotificationSender hostAsSender() {
    NotificationSender sender;
    sender.identifier = HostBundle::mainBundle().identifier();
    sender.applicationName = QCoreApplication::applicationName();
    sender.actionLabel = openLabel();
    sender.stateFolder = DesktopNotificationCenter::stateFolder(sender.identifier);
    return sender;
}

}  // namespace

struct DesktopNotificationCenter::Shared {
    const std::shared_ptr<NotificationList> list = std::make_shared<NotificationList>();
    const std::shared_ptr<NotificationProgress> progress = std::make_shared<NotificationProgress>();
    GuardedSlot<std::weak_ptr<NotificationCenterDelegate>> delegate;
    std::unique_ptr<NotificationThread> thread;

    /// Main thread only.
    void askDelegate() {
        const std::vector<UserNotification> notifications = list->unasked();
        for (const UserNotification &notification : notifications) {
            const auto asked = delegate.get().lock();
            list->answer(
                notification.identity,
                !asked || asked->userNotificationCenterShouldPresentNotification(notification));
        }
        if (!notifications.empty())
            thread->wake();
    }

    /// Main thread only.
    void tellDelegate(const UserNotification &notification) {
        if (const auto told = delegate.get().lock())
            told->userNotificationCenterDidActivateNotification(notification);
    }
};

DesktopNotificationCenter::DesktopNotificationCenter(const NotificationSender &sender)
    : _registry(sender.stateFolder), _shared(std::make_shared<Shared>()) {
    const std::weak_ptr<Shared> weakly = _shared;
    _shared->thread = std::make_unique<NotificationThread>(
        sender, _shared->list, _shared->progress, [weakly](const UserNotification &notification) {
            MainQueue::dispatchAsync([weakly, notification] {
                if (const auto alive = weakly.lock())
                    alive->tellDelegate(notification);
            });
        });
}

DesktopNotificationCenter::~DesktopNotificationCenter() {
    stop();
}

std::shared_ptr<DesktopNotificationCenter>
DesktopNotificationCenter::defaultUserNotificationCenter() {
    if (!MainQueue::isMainThread())
        return nullptr;
    static std::shared_ptr<DesktopNotificationCenter> center;
    if (!center) {
        center = std::make_shared<DesktopNotificationCenter>(hostAsSender());
        // Stop before Qt destroys the objects that the thread's event loop needs.
        ApplicationEnd::add(ApplicationEnd::Phase::Notifications,
                            [] { std::exchange(center, nullptr)->stop(); });
    }
    return center;
}

QString DesktopNotificationCenter::stateFolder(const QString &identifier) {
    const QString stated = qEnvironmentVariable("XDG_STATE_HOME");
    const QString base = QDir::isAbsolutePath(stated)
                             ? stated
                             : QDir::home().filePath(QStringLiteral(".local/state"));
    return QDir(base).filePath(identifier);
}

void DesktopNotificationCenter::deliverNotification(const UserNotification &notification) {
    const bool isAsked =
        _shared->delegate.get().expired() || QCoreApplication::instance() == nullptr;
    _shared->list->add(notification, isAsked ? NotificationList::Presentation::Asked
                                             : NotificationList::Presentation::Unasked);
    if (isAsked)
        _shared->thread->wake();
    else
        MainQueue::dispatchAsync([asking = _shared] { asking->askDelegate(); });
}

QList<UserNotification> DesktopNotificationCenter::deliveredNotifications() const {
    readRegistry();
    return _shared->list->delivered();
}

void DesktopNotificationCenter::removeDeliveredNotification(const UserNotification &notification) {
    if (_shared->list->remove(notification.identity))
        _shared->thread->wake();
}

void DesktopNotificationCenter::setDelegate(std::weak_ptr<NotificationCenterDelegate> delegate) {
    _shared->delegate.set(std::move(delegate));
    readRegistry();
}

bool DesktopNotificationCenter::flush(std::chrono::milliseconds timeout) {
    if (MainQueue::isMainThread())
        _shared->askDelegate();
    return !_shared->thread->isRunning() || _shared->progress->waitUntilSettled(timeout);
}

void DesktopNotificationCenter::stop() {
    _shared->thread->stop(stopTimeout);
}

bool DesktopNotificationCenter::isActive() const {
    return _shared->thread->isRunning();
}

void DesktopNotificationCenter::readRegistry() const {
    const auto contents = _registry.read();
    if (!contents)
        return;
    _shared->list->merge(*contents);
    // Until the thread has checked the entries with the bus, they are assumed valid. The thread
    // also listens for clicks on them.
    if (!contents->entries.empty())
        _shared->thread->start();
}

}  // namespace pelorinnews
