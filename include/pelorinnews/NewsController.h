#pragma once

#include "pelorinnews/OlvLogger.h"

#include <memory>

namespace pelorinnews {

/// The host's interface to the news panel: create it through `NewsPlugin::init`, set the logger,
/// `show` it any number of times, `exit` once, release it.
///
/// Main thread only. No operation fails. Two operations block: the first `show` loads the window,
/// which takes some hundredths of a second; `exit` waits up to 250 ms until the desktop has
/// confirmed what the panel asked of it, such as withdrawing its announcement.
class NewsController {
public:
    virtual ~NewsController() = default;
    NewsController(const NewsController &) = delete;
    NewsController &operator=(const NewsController &) = delete;

    /// Shows the news window and brings it to the front. Does so again after the current event,
    /// since that event may bring the host's own window to the front.
    virtual void show() = 0;

    /// Ends the panel: stops its timer, closes its window, stores the date of the last
    /// viewing. Call it once, before releasing the controller: without this call the refresh timer
    /// keeps the panel alive.
    virtual void exit() = 0;

    /// Sets the logger, which receives one error message for each refresh that got no feed, and
    /// nothing else. Null switches logging off. Set it once, right after creation: earlier messages
    /// are dropped.
    virtual void setLogger(std::shared_ptr<OlvLogger> logger) = 0;

    /// Keeps `delegate` alive until another one is set or the controller is destroyed. The panel
    /// never calls it.
    virtual void setDelegate(std::shared_ptr<void> delegate) = 0;

protected:
    NewsController() = default;
};

}  // namespace pelorinnews
