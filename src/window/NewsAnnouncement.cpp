#include "NewsAnnouncement.h"

#include "feed/OlvNewsCacheItem.h"

namespace pelorinnews::NewsAnnouncement {

namespace {

const QString originatorNameKey = QStringLiteral("originatorName");
const QString originationDateKey = QStringLiteral("originationDate");
const QString originator = QStringLiteral("com.Olvane.PelorinNews.originator");

bool isOurs(const UserNotification &notification) {
    const QVariant name = notification.userInfo.value(originatorNameKey);
    return name.typeId() == QMetaType::QString && name.toString() == originator;
}

}  // namespace

QDateTime notificationDate(const NotificationCenter &center) {
    QDateTime latest;
    const auto delivered = center.deliveredNotifications();
    for (const UserNotification &notification : delivered) {
        if (!isOurs(notification))
            continue;
        const QDateTime date = notification.userInfo.value(originationDateKey).toDateTime();
        if (date.isValid() && (!latest.isValid() || latest < date))
            latest = date;
    }
    return latest;
}

void removeNotification(NotificationCenter &center) {
    const auto delivered = center.deliveredNotifications();
    for (const UserNotification &notification : delivered) {
        if (isOurs(notification))
            center.removeDeliveredNotification(notification);
    }
}

void announce(NotificationCenter &center, const QString &title, const OlvNewsCacheItem &latest) {
    const QDateTime date = latest.date();
    if (!date.isValid())
        return;
    const QDateTime announced = notificationDate(center);
    if (announced.isValid()) {
        if (announced >= date)
            return;
        removeNotification(center);
    }
    UserNotification notification;
    notification.title = title;
    notification.informativeText = latest.title();
    notification.soundName = UserNotification::defaultSoundName();
    notification.userInfo = {{originatorNameKey, originator}, {originationDateKey, date}};
    center.deliverNotification(notification);
}

}  // namespace pelorinnews::NewsAnnouncement
