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

    /// Makes the scheme known to the engine. False where the engine was started before and takes
    /// no more schemes.
    [[nodiscard]] static bool registerScheme();

    /// The address of the page.
    [[nodiscard]] static QUrl pageAddress();

    void setPage(const QString &html) { _page = html.toUtf8(); }
    void requestStarted(QWebEngineUrlRequestJob *job) override;

private:
    QByteArray _page;
};

}  // namespace pelorinnews
