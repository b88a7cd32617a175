#include "ScrollWatch.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace pelorinnews::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint8_t wheelDown = 5;  // the button number of a turn of the wheel
constexpr int singleTurns = 40;
constexpr std::chrono::seconds duration{3};
constexpr std::chrono::milliseconds turn{8};
constexpr std::chrono::microseconds pause{500};

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply *reply) {
    return {reply, &std::free};
}

/// A window on the screen, seen through a column of its pixels in the middle of the page.
class Screen {
public:
    explicit Screen(std::uint32_t window)
        : _display(xcb_connect(nullptr, nullptr)), _window(window) {
        const auto size =
            owned(xcb_get_geometry_reply(_display, xcb_get_geometry(_display, window), nullptr));
        if (!size)
            return;
        _x = static_cast<std::int16_t>(size->width / 4);
        _top = static_cast<std::int16_t>(size->height / 2);
        _height = static_cast<std::uint16_t>(size->height / 4);
        xcb_warp_pointer(_display, XCB_NONE, window, 0, 0, 0, 0, _x, _top);
        xcb_flush(_display);
    }

    ~Screen() { xcb_disconnect(_display); }

    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    std::string pixels() const {
        const auto image = owned(xcb_get_image_reply(
            _display,
            xcb_get_image(_display, XCB_IMAGE_FORMAT_Z_PIXMAP, _window, _x, _top, 1, _height, ~0U),
            nullptr));
        if (!image)
            return {};
        return {reinterpret_cast<const char *>(xcb_get_image_data(image.get())),
                static_cast<std::size_t>(xcb_get_image_data_length(image.get()))};
    }

    void turnWheel() const {
        for (const std::uint8_t type :
             {std::uint8_t{XCB_BUTTON_PRESS}, std::uint8_t{XCB_BUTTON_RELEASE}})
            xcb_test_fake_input(_display, type, wheelDown, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        xcb_flush(_display);
    }

private:
    xcb_connection_t *_display;
    std::uint32_t _window;
    std::int16_t _x = 0;
    std::int16_t _top = 0;
    std::uint16_t _height = 0;
};

std::optional<double> medianToPixel(const Screen &screen) {
    std::vector<double> taken;
    for (int i = 0; i < singleTurns; ++i) {
        // Not in step with the painting, which happens at most 60 times per second.
        std::this_thread::sleep_for(std::chrono::milliseconds(50 + 7 * (i % 5)));
        const std::string before = screen.pixels();
        const Clock::time_point start = Clock::now();
        screen.turnWheel();
        while (screen.pixels() == before) {
            if (Clock::now() - start > std::chrono::seconds(1))
                return std::nullopt;
            std::this_thread::sleep_for(pause);
        }
        taken.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    std::nth_element(taken.begin(), taken.begin() + singleTurns / 2, taken.end());
    return taken[singleTurns / 2];
}

double framesPerSecond(const Screen &screen) {
    const Clock::time_point start = Clock::now();
    Clock::time_point next = start;
    std::string shown = screen.pixels();
    int frames = 0;
    while (Clock::now() - start < duration) {
        if (Clock::now() >= next) {
            screen.turnWheel();
            next += turn;
        }
        std::string now = screen.pixels();
        if (now != shown) {
            ++frames;
            shown = std::move(now);
        }
        std::this_thread::sleep_for(pause);
    }
    return frames / std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

ScrollWatch::~ScrollWatch() {
    if (_thread.joinable())
        _thread.join();
}

void ScrollWatch::begin(std::uint32_t window, Measured measured) {
    if (_thread.joinable())
        _thread.join();
    _thread = std::thread([window, measured = std::move(measured)] {
        const Screen screen(window);
        const std::optional<double> toPixel = medianToPixel(screen);
        measured(toPixel ? std::optional(Scrolling{framesPerSecond(screen), *toPixel})
                         : std::nullopt);
    });
}

}  // namespace pelorinnews::bench
