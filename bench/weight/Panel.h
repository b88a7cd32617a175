#pragma once

#include "PixelWatch.h"

#include "pelorinnews/NewsController.h"

#include <QString>
#include <QWidget>

#include <memory>

namespace pelorinnews::bench {

/// The news panel as a host has it, and its window as a user works it. Main thread only.
class Panel {
public:
    /// Milliseconds of the main thread, by the clock and by the processor's account.
    struct Cost {
        double clock = 0;
        double processor = 0;
    };

    /// Loads the module and creates its panel; ends the program where that fails.
    Cost load(const QString &module);

    /// Opens the window; the first item's page has this background.
    void show(std::uint32_t colour, PixelWatch::Painted painted);
    void close();
    /// Presses a button of the window by its name; the page that comes has this background.
    void press(const QString &button, std::uint32_t colour, PixelWatch::Painted painted);

    void exit();

private:
    [[nodiscard]] static QWidget *window();

    std::shared_ptr<NewsController> _news;
    PixelWatch _watch;
};

}  // namespace pelorinnews::bench
