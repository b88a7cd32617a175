#include "Panel.h"

#include "pelorinnews/NewsPlugin.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPluginLoader>

#include <ctime>

namespace pelorinnews::bench {

namespace {

double threadMilliseconds() {
    timespec spent{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
    return static_cast<double>(spent.tv_sec) * 1e3 + static_cast<double>(spent.tv_nsec) / 1e6;
}

}  // namespace

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

void Panel::exit() {
    if (_news)
        _news->exit();
    _news.reset();
}

}  // namespace pelorinnews::bench
