#pragma once

#include "pelorinnews/Error.h"
#include "pelorinnews/NewsController.h"

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QtPlugin>

#include <functional>
#include <memory>
#include <optional>

namespace pelorinnews {

/// What a host shows of the news outside of the panel, such as a badge or a menu entry, and
/// "refresh now". See `newsStatus`.
///
/// Belongs to the controller that it was asked from, and lives as long. Main thread only. No
/// operation fails or waits, and none marks an item as viewed.
///
/// All items here are those that the user has chosen to see in the panel's options; by default the
/// unread ones.
class NewsStatus {
public:
    /// The latest item.
    struct Headline {
        /// Plain text from the feed; may be absent.
        QString title;
        /// The publication date; may be absent.
        QDateTime date;
    };

    /// How a refresh ended.
    struct Refresh {
        /// When, in UTC.
        QDateTime time;
        /// Why it got no feed; absent if it got one.
        std::optional<Error> error;
    };

    virtual ~NewsStatus() = default;
    NewsStatus(const NewsStatus &) = delete;
    NewsStatus &operator=(const NewsStatus &) = delete;

    /// The number of items that are newer than the user's last look at the news.
    [[nodiscard]] virtual qint64 unreadCount() const = 0;

    /// The item with the latest date, read or not; nothing where there is no item.
    [[nodiscard]] virtual std::optional<Headline> latestItem() const = 0;

    /// The most recent refresh that has ended; nothing before the first has.
    [[nodiscard]] virtual std::optional<Refresh> lastRefresh() const = 0;

    /// Sets a function that is called on the main thread, in a later event, when a refresh has
    /// ended, an item was shown or the window was closed; also if the values are the same as
    /// before. It replaces the one set before; an empty one switches the calls off. It is not
    /// called any more once the controller is released.
    virtual void setChangeCallback(std::function<void()> callback) = 0;

    /// Starts a refresh as the timer does: new items are announced and never open the window. While
    /// the window is open, the refresh waits until it is closed. No-op after
    /// `NewsController::exit`.
    virtual void refreshNow() = 0;

protected:
    NewsStatus() = default;
};

}  // namespace pelorinnews

// The number changes under the same rule as that of `NewsPlugin`, and independently of it.
#define PELORINNEWS_STATUS_IID "com.Olvane.PelorinNews.NewsStatus/1"
Q_DECLARE_INTERFACE(pelorinnews::NewsStatus, PELORINNEWS_STATUS_IID)

namespace pelorinnews {

/// The status of this controller's panel; null without a controller, and if the module has another
/// interface of this name or none.
[[nodiscard]] inline NewsStatus *newsStatus(const std::shared_ptr<NewsController> &controller) {
    return qobject_cast<NewsStatus *>(dynamic_cast<QObject *>(controller.get()));
}

}  // namespace pelorinnews
