#include "PixelWatch.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <xcb/xcb.h>

namespace pelorinnews::bench {

namespace {

// A row of pixels in the window that lies inside the page at any size that the window may have.
constexpr std::int16_t left = 40;
constexpr std::int16_t top = 150;
constexpr std::uint16_t width = 240;

constexpr std::uint32_t colourBits = 0xFFFFFF;
constexpr std::chrono::milliseconds pause{1};

bool shows(xcb_connection_t *display, std::uint32_t window, std::uint32_t colour) {
    const auto cookie = xcb_get_image(display, XCB_IMAGE_FORMAT_Z_PIXMAP, window, left, top, width,
                                      1, ~std::uint32_t(0));
    xcb_generic_error_t *problem = nullptr;
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(display, cookie, &problem), &std::free);
    // GetImage fails for a window that is not on the screen.
    std::free(problem);
    if (!reply)
        return false;
    const std::uint8_t *const bytes = xcb_get_image_data(reply.get());
    const auto pixels = static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) / 4;
    std::size_t matching = 0;
    for (std::size_t i = 0; i < pixels; ++i) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, bytes + i * 4, sizeof pixel);
        if ((pixel & colourBits) == colour)
            ++matching;
    }
    return pixels == width && matching > pixels / 4;
}

}  // namespace

PixelWatch::PixelWatch() : _thread([this] { run(); }) {}

PixelWatch::~PixelWatch() {
    {
        const std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _changed.notify_one();
    _thread.join();
}

void PixelWatch::begin(std::uint32_t window, std::uint32_t colour, Clock::time_point start,
                       Painted painted) {
    {
        const std::lock_guard lock(_mutex);
        _waiting = Task{window, colour, start, std::move(painted)};
    }
    _changed.notify_one();
}

void PixelWatch::run() {
    xcb_connection_t *const display = xcb_connect(nullptr, nullptr);
    for (;;) {
        Task task;
        {
            std::unique_lock lock(_mutex);
            _changed.wait(lock, [this] { return _stopping || _waiting; });
            if (_stopping)
                break;
            task = std::move(*std::exchange(_waiting, std::nullopt));
        }
        const Clock::time_point end = Clock::now() + timeout;
        bool seen = false;
        while (!(seen = shows(display, task.window, task.colour)) && Clock::now() < end)
            std::this_thread::sleep_for(pause);
        const std::chrono::duration<double, std::milli> taken = Clock::now() - task.start;
        task.painted(seen ? std::optional(taken.count()) : std::nullopt);
    }
    xcb_disconnect(display);
}

}  // namespace pelorinnews::bench
