#include "Panel.h"

#include "ThreadClock.h"

#include "pelorinnews/NewsPlugin.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPluginLoader>

namespace pelorinnews::bench {

Panel::Cost Panel::load(const QString &module) {
    const double processor = threadMilliseconds();
    const PixelWatch::Clock::time_point clock = PixelWatch::Clock::now();
    QPluginLoader loader(module);
    auto *const plugin = qobject_cast<NewsPlugin *>(loader.instance());
    if (!plugin)
        qFatal("%s", qPrintable(loader.errorString()));
    plugin->setHostIdentity({QStringLiteral("com.Olvane.PelorinWeight"), QStringLiteral("Olvane"),
                             QStringLiteral("PelorinWeight")});
    Error error;
    _news = plugin->init(&error);
    if (!_news)
        qFatal("%s", qPrintable(error.description()));
    const std::chrono::duration<double, std::milli> passed = PixelWatch::Clock::now() - clock;
    return {passed.count(), threadMilliseconds() - processor};
}

QWidget *Panel::window() {
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *each : windows) {
        if (each->objectName() == QLatin1String("OlvNewsWindow"))
            return each;
    }
    qFatal("there is no news window");
}

void Panel::show(std::uint32_t colour, PixelWatch::Painted painted) {
    const PixelWatch::Clock::time_point start = PixelWatch::Clock::now();
    _news->show();
    _watch.begin(static_cast<std::uint32_t>(window()->winId()), colour, start, std::move(painted));
}

void Panel::close() {
    window()->close();
}

void Panel::press(const QString &button, std::uint32_t colour, PixelWatch::Painted painted) {
    auto *const pressed = window()->findChild<QAbstractButton *>(button);
    if (!pressed || !pressed->isEnabled())
        qFatal("%s cannot be pressed", qPrintable(button));
    const PixelWatch::Clock::time_point start = PixelWatch::Clock::now();
    pressed->click();
    _watch.begin(static_cast<std::uint32_t>(window()->winId()), colour, start, std::move(painted));
}

void Panel::resize(int width, int height) {
    window()->resize(width, height);
}

void Panel::scroll(ScrollWatch::Measured measured) {
    _scroll.begin(static_cast<std::uint32_t>(window()->winId()), std::move(measured));
}

void Panel::exit() {
    if (_news)
        _news->exit();
    _news.reset();
}

}  // namespace pelorinnews::bench
