#pragma once

#include "PixelWatch.h"
#include "ScrollWatch.h"

#include "pelorinnews/NewsController.h"

#include <QString>
#include <QWidget>

#include <memory>

namespace pelorinnews::bench {

/// The news panel as a host embeds it, and its window as a user operates it. Main thread only.
class Panel {
public:
    /// Wall-clock time and CPU time of the main thread, in milliseconds.
    struct Cost {
        double clock = 0;
        double processor = 0;
    };

    /// Loads the module and creates its panel; ends the program on failure.
    Cost load(const QString &module);

    /// Opens the window. `painted` is called when the first item's page, whose background is
    /// `colour`, is on the screen.
    void show(std::uint32_t colour, PixelWatch::Painted painted);
    void close();
    /// In device-independent pixels.
    void resize(int width, int height);
    /// Presses the window's button with this object name. `painted` is called when the next page,
    /// whose background is `colour`, is on the screen.
    void press(const QString &button, std::uint32_t colour, PixelWatch::Painted painted);

    /// Turns the wheel over the page, which must be some 20,000 pixels high.
    void scroll(ScrollWatch::Measured measured);

    void exit();

private:
    [[nodiscard]] static QWidget *window();

    std::shared_ptr<NewsController> _news;
    PixelWatch _watch;
    ScrollWatch _scroll;
};

}  // namespace pelorinnews::bench
