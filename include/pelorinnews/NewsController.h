#pragma once

#include <pelorinnews/OlvLogger.h>

#include <memory>

namespace pelorinnews {

/// The news panel, as the host drives it: create it through `NewsPlugin::init`, hand over the
/// logger, `show` it any number of times, `exit` once, release it.
///
/// All operations belong on the main thread. None fails. Two take their time: the first `show`
/// loads the window and the web engine, a third of a second or so; `exit` waits a quarter of a
/// second at most for the desktop to take back what the panel announced.
class NewsController {
public:
    virtual ~NewsController() = default;
    NewsController(const NewsController &) = delete;
    NewsController &operator=(const NewsController &) = delete;

    /// Shows the news window and brings it to the front, now and once more when the event that is
    /// being handled is over.
    virtual void show() = 0;

    /// Shuts the panel down: stops its timer, closes its window, stores what was viewed. Call it
    /// once, before releasing the controller: without it the refresh timer keeps the panel alive.
    virtual void exit() = 0;

    /// Takes the logger that is told of each refresh that got no feed, in one error message, and of
    /// nothing else; null switches logging off. Set it once, right after creation: messages from
    /// before are dropped.
    virtual void setLogger(std::shared_ptr<OlvLogger> logger) = 0;

    /// Keeps `delegate` alive until another is set or the controller goes. The panel never calls
    /// it.
    virtual void setDelegate(std::shared_ptr<void> delegate) = 0;

protected:
    NewsController() = default;
};

}  // namespace pelorinnews
