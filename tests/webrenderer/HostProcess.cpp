// A host in a process of its own: shows one page in the content view, by whatever renderer this
// process can have, and prints which one it is.
//
// --share      shares GL contexts before the application is made
// --folder F   looks for the web renderer in folder F
// --leave      ends while the page is loading
// --quit       ends by exit(), with everything alive

#include "OlvNewsWebView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTextBrowser>
#include <QThread>

#ifdef PELORIN_HOST_USES_ENGINE
#include <QWebEnginePage>
#include <QWebEngineProfile>
#endif

#include <cstdio>
#include <cstdlib>

using namespace pelorinnews;

int main(int argc, char *argv[]) {
    QStringList options;
    for (int each = 1; each < argc; ++each)
        options.append(QString::fromLocal8Bit(argv[each]));
    const auto has = [&options](const char *name) { return options.contains(QLatin1String(name)); };
    QApplication::setAttribute(Qt::AA_ShareOpenGLContexts, has("--share"));
    QApplication application(argc, argv);
#ifdef PELORIN_HOST_USES_ENGINE
    QWebEngineProfile profile;
    QWebEnginePage page(&profile);
    page.setHtml(QStringLiteral("The host's own page"));
#endif
    OlvNewsWebView view;
    view.setRendererFolder(options.value(options.indexOf(QStringLiteral("--folder")) + 1));
    view.resize(300, 200);
    view.loadHtmlString(QStringLiteral("<p>An item</p>"));
    view.show();
    const bool text = view.findChild<QTextBrowser *>() != nullptr;
    std::fprintf(stderr, "renderer: %s\n", text ? "text" : "web");
    if (has("--leave"))
        return 0;
    QElapsedTimer clock;
    clock.start();
    while (!clock.hasExpired(1000)) {
        QApplication::processEvents();
        QThread::msleep(5);
    }
    if (has("--quit"))
        std::exit(0);
    return 0;
}
