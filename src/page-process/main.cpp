// The page process: shows pages with the web engine, for the process that started it.

#include "Confinement.h"
#include "ItemSchemeHandler.h"
#include "PageProcess.h"
#include "PretendedScreen.h"
#include "pageprotocol/PageSocket.h"
#include "pageprotocol/StartArguments.h"

#include <QApplication>
#include <QNetworkProxy>
#include <QQuickWindow>

#include <array>
#include <cstdlib>

namespace {

// Command-line switches of the engine. They affect only this process, in which nothing else uses
// the engine. The unsandboxed zygote is a process from which the engine would fork programs that
// run without a sandbox; without it, the engine starts them itself.
constexpr std::array switches{"--disable-background-networking", "--disable-component-update",
                              "--no-unsandboxed-zygote"};

QByteArrayList argumentsOf(int argc, char *argv[]) {
    QByteArrayList all;
    for (int i = 1; i < argc; ++i)
        all.append(argv[i]);
    return all;
}

void useProxy(const QUrl &proxy) {
    // The engine ignores the application's proxy while the system's is in use, the default.
    QNetworkProxyFactory::setUseSystemConfiguration(false);
    QNetworkProxy::setApplicationProxy({proxy.scheme() == QLatin1String("http")
                                            ? QNetworkProxy::HttpProxy
                                            : QNetworkProxy::Socks5Proxy,
                                        proxy.host(), static_cast<quint16>(proxy.port())});
}

}  // namespace

int main(int argc, char *argv[]) {
    using namespace pelorinnews;
    // This program uses private functions of Qt, which may differ in each version.
    if (qstrcmp(qVersion(), QT_VERSION_STR) != 0)
        return EXIT_FAILURE;
    const auto start = StartArguments::parse(argumentsOf(argc, argv));
    if (!start || !confine(start->host))
        return EXIT_FAILURE;
    if (qEnvironmentVariableIntValue("QTWEBENGINE_DISABLE_SANDBOX") == 0 && !canIsolatePages())
        return EXIT_FAILURE;
    ItemSchemeHandler::registerScheme();
    const PretendedScreen screen(*start);
    if (!start->proxy.isEmpty())
        useProxy(start->proxy);
    QByteArray flags;
    for (const char *each : switches)
        flags.append(each).append(' ');
    if (start->prefersDark)
        flags.append("--blink-settings=preferredColorScheme=0");
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS", flags);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    // The engine must not read the arguments as its own.
    int count = 1;
    const QApplication application(count, argv);
    const PageProcess process{FileDescriptor(pageprotocol::childSocket)};
    return QApplication::exec();
}
