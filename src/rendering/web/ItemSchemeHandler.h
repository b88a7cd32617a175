#pragma once

#include <QByteArray>
#include <QUrl>
#include <QWebEngineUrlSchemeHandler>

namespace pelorinnews {

/// Serves the current item under the module's own URL scheme. Unlike a page passed inside a URL,
/// such a page may have any size, and its relative links reach the policy delegate.
class ItemSchemeHandler final : public QWebEngineUrlSchemeHandler {
    Q_OBJECT

public:
    using QWebEngineUrlSchemeHandler::QWebEngineUrlSchemeHandler;

    [[nodiscard]] static bool isRegistered();

    /// Registers the scheme with the engine. False if the engine is already started and takes no
    /// more schemes.
    [[nodiscard]] static bool registerScheme();

    [[nodiscard]] static QByteArray scheme();

    /// Serves `html` from now on and returns its address. Every page gets a new address: if one
    /// were loaded again, the engine would restore its old scroll position. All pages share one
    /// host: for each new host the engine would start another process.
    [[nodiscard]] QUrl setPage(const QString &html);

    /// Serves the page under a new host from now on and returns its new address. The engine then
    /// uses another process than the one in which the previous page hangs.
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
