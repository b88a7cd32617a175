#pragma once

#include "LinkClicks.h"
#include "rendering/NewsRenderer.h"

#include <QWebEnginePage>

namespace pelorinnews {

/// The engine's page object, which shows one item at a time. Every feature that reading does not
/// need is switched off; the policy delegate decides about the navigations that remain possible.
class ItemPage final : public QWebEnginePage {
    Q_OBJECT

public:
    ItemPage(QWebEngineProfile *profile, QObject *parent);

    /// Loads the item that is served under `address`.
    void showItem(const QUrl &address);

    /// Whether the engine has begun to show the item. Until then it still shows the previous page.
    [[nodiscard]] bool itemHasCome() const { return _itemHasCome; }

    void setPolicyDelegate(NavigationPolicyDelegate *delegate) { _policy = delegate; }

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override;
    QWebEnginePage *createWindow(WebWindowType) override { return nullptr; }
    QStringList chooseFiles(FileSelectionMode, const QStringList &, const QStringList &) override {
        return {};
    }
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString &message, int,
                                  const QString &) override;

private:
    bool allows(pelorinnews::NavigationType type, const QUrl &url);

    NavigationPolicyDelegate *_policy = nullptr;
    QUrl _item;
    /// URL of the previous page while the item is loading.
    QUrl _shown;
    bool _itemHasCome = false;
    LinkClicks _clicks;
};

}  // namespace pelorinnews
