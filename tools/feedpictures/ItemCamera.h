#pragma once

#include "rendering/TextNewsRenderer.h"
#include "rendering/WebNewsRenderer.h"

#include <QImage>
#include <QSize>
#include <QString>
#include <QWidget>

#include <chrono>
#include <memory>
#include <optional>

namespace pelorinnews {

/// Takes pictures of pages as the two renderers of the news panel show them. Each call blocks, and
/// runs the event loop meanwhile. Main thread only.
class ItemCamera final {
public:
    /// Whether everything that the page names has come. Without that, the picture shows the page as
    /// it was when the time was up.
    enum class Load { Complete, TimedOut };
    struct Picture {
        QImage image;
        Load load = Load::Complete;
    };

    /// `size` is that of the pages, in logical pixels. `pageProcess` is the program that runs the
    /// web engine; it may be absent.
    ItemCamera(QSize size, const QString &pageProcess);

    /// Absent if the web renderer cannot run, or cannot show this page. A page gets `timeout` to
    /// load.
    [[nodiscard]] std::optional<Picture> takeWeb(const QString &html,
                                                 std::chrono::milliseconds timeout);
    [[nodiscard]] QImage takeText(const QString &html);

private:
    void openWeb();

    const QString _pageProcess;
    QWidget _webWindow;
    QWidget _textWindow;
    std::unique_ptr<WebNewsRenderer> _web;
    TextNewsRenderer _text;
    /// Whether the web renderer has shown a page.
    bool _webWorks = false;
};

}  // namespace pelorinnews
