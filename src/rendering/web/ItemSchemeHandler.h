#pragma once

#include <QByteArray>
#include <QUrl>
#include <QWebEngineUrlSchemeHandler>

namespace pelorinnews {

/// Serves the shown item under a scheme of the module's own: unlike pages handed over inside an
/// address, such a page may have any size, and its relative links reach the policy delegate.
class ItemSchemeHandler final : public QWebEngineUrlSchemeHandler {
    Q_OBJECT

public:
    using QWebEngineUrlSchemeHandler::QWebEngineUrlSchemeHandler;

    [[nodiscard]] static bool isRegistered();

    /// Makes the scheme known to the engine. False where the engine was started before and takes
    /// no more schemes.
    [[nodiscard]] static bool registerScheme();

    [[nodiscard]] static QByteArray scheme();

    /// Serves `html` from now on and gives its address. Every page has an address of its own: one
    /// that is loaded again would be shown scrolled to where it was left.
    /// All have one host: for another one the engine would start another process with every page.
    [[nodiscard]] QUrl setPage(const QString &html);

    /// Serves the page under another host from now on, so that the engine takes another process
    /// than one that hangs over the page before, and gives its new address.
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
