#pragma once

#include <QByteArray>
#include <QUrl>
#include <QWebEngineUrlSchemeHandler>

namespace pelorinnews {

/// Serves the current item under the module's own URL scheme. Unlike a page passed as a `data:`
/// URL, a page that is served this way may have any size, and its relative links reach the policy
/// delegate.
class ItemSchemeHandler final : public QWebEngineUrlSchemeHandler {
    Q_OBJECT

public:
    using QWebEngineUrlSchemeHandler::QWebEngineUrlSchemeHandler;

    /// Registers the scheme with the engine. Call it before the engine starts: later, the engine
    /// accepts no scheme.
    static void registerScheme();

    [[nodiscard]] static QByteArray scheme();

    /// Serves `html` from now on and returns its URL. Every page gets a new URL: if a URL were
    /// loaded again, the engine would restore its old scroll position. All pages share one URL
    /// host, because the engine would start another process for each new one.
    [[nodiscard]] QUrl setPage(const QByteArray &html);

    /// Serves the page under a new URL host from now on and returns its new URL. The engine loads
    /// that URL in a new process, which helps if the present process hangs or has crashed.
    [[nodiscard]] QUrl moveToAnotherHost();

    void requestStarted(QWebEngineUrlRequestJob *job) override;

private:
    [[nodiscard]] QUrl newAddress();

    QByteArray _page;
    QUrl _address;
    quint64 _host = 0;
    quint64 _pages = 0;
};

}  // namespace pelorinnews
