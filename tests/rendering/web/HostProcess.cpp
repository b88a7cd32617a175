// A host in a process of its own. Shows one page in the content view and prints which renderer the
// view has got.
//
// --share      shares GL contexts before the application is made
// --folder F   looks for the web renderer in folder F
// --leave      ends while the page is loading
// --quit       ends by exit(), with everything alive
// --register   registers the items' URL scheme, as a host that uses the engine may
// --painted    waits until the page is on the screen; exits with 1 if it does not appear
// --again      then does the same under a second application object
// --late       shows the page only under a second application object

#include "window/OlvNewsWebView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPixmap>
#include <QScreen>
#include <QTextBrowser>
#include <QThread>

#ifdef PELORIN_HOST_USES_ENGINE
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineUrlScheme>
#endif

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <utility>

using namespace pelorinnews;

namespace {

constexpr QRgb background = 0xff20c040;

bool isPainted(QWidget &view) {
    // A program on Wayland does not see the screen, only what it draws itself.
    const QPixmap shot = QGuiApplication::platformName() == QLatin1String("wayland")
                             ? view.grab({250, 150, 1, 1})
                             : view.screen()->grabWindow(view.winId(), 250, 150, 1, 1);
    return !shot.isNull() && shot.toImage().pixel(0, 0) == background;
}

// Runs the host under one application object; returns the exit status.
int run(int argc, char *argv[], const QStringList &options) {
    const auto has = [&options](const char *name) { return options.contains(QLatin1String(name)); };
    QApplication::setAttribute(Qt::AA_ShareOpenGLContexts, has("--share"));
    QApplication application(argc, argv);
#ifdef PELORIN_HOST_USES_ENGINE
    if (has("--register")) {
        QWebEngineUrlScheme scheme("pelorin-news-item");
        scheme.setSyntax(QWebEngineUrlScheme::Syntax::Host);
        scheme.setFlags(QWebEngineUrlScheme::SecureScheme);
        QWebEngineUrlScheme::registerScheme(scheme);
    }
    // Using the engine under a second application object would end the process.
    static bool isUsed = false;
    std::optional<QWebEngineProfile> profile;
    std::optional<QWebEnginePage> page;
    if (!std::exchange(isUsed, true)) {
        profile.emplace();
        page.emplace(&*profile);
        page->setHtml(QStringLiteral("The host's own page"));
    }
#endif
    OlvNewsWebView view;
    view.setRendererFolder(options.value(options.indexOf(QStringLiteral("--folder")) + 1));
    view.resize(300, 200);
    view.loadHtmlString(QStringLiteral("<body style='background:#20c040'><p>An item</p>"));
    view.show();
    const bool text = view.findChild<QTextBrowser *>() != nullptr;
    std::fprintf(stderr, "renderer: %s\n", text ? "text" : "web");
    if (has("--leave"))
        return 0;
    QElapsedTimer clock;
    clock.start();
    const auto isDone = [&] {
        return has("--painted") ? isPainted(view) || clock.hasExpired(40'000)
                                : clock.hasExpired(1000);
    };
    while (!isDone()) {
        QApplication::processEvents();
        QThread::msleep(5);
    }
    if (has("--quit"))
        std::exit(0);
    return has("--painted") && !isPainted(view) ? 1 : 0;
}

}  // namespace

int main(int argc, char *argv[]) {
    QStringList options;
    for (int each = 1; each < argc; ++each)
        options.append(QString::fromLocal8Bit(argv[each]));
    if (options.contains(QLatin1String("--late")))
        const QApplication first(argc, argv);
    const int status = run(argc, argv, options);
    if (status != 0 || !options.contains(QLatin1String("--again")))
        return status;
    return run(argc, argv, options);
}
