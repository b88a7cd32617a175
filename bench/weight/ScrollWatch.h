#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <thread>

namespace pelorinnews::bench {

/// Turns the wheel over a window, as a user's mouse would, and watches the window's pixels on the
/// screen.
class ScrollWatch {
public:
    struct Scrolling {
        /// How many different pictures were on the screen per second while the wheel was turned
        /// more often than a screen is renewed.
        double framesPerSecond;
        /// The median of the milliseconds from one turn of the wheel to changed pixels.
        double wheelToPixel;
    };
    /// Receives what was measured; absent if the pixels did not change within a second of a turn.
    /// Called on the watch's own thread.
    using Measured = std::function<void(std::optional<Scrolling>)>;

    ScrollWatch() = default;
    ~ScrollWatch();
    ScrollWatch(const ScrollWatch &) = delete;
    ScrollWatch &operator=(const ScrollWatch &) = delete;

    /// Scrolls down for about five seconds, in a thread with its own X11 connection. The page in
    /// the window must be some 20,000 pixels high. One measurement at a time.
    void begin(std::uint32_t window, Measured measured);

private:
    std::thread _thread;
};

}  // namespace pelorinnews::bench
