#pragma once

#include "PageScript.h"
#include "pageprotocol/NavigationType.h"

#include <QTimer>
#include <QWebEnginePage>

namespace pelorinnews {

/// The engine's page object, which shows one item at a time. Every feature that reading does not
/// need is switched off. Of the navigations that remain possible, clicked links are refused and all
/// others allowed; all are reported.
class ItemPage final : public QWebEnginePage {
    Q_OBJECT

public:
    ItemPage(QWebEngineProfile *profile, QObject *parent);

    /// Loads the item that is served under `address`.
    void showItem(const QUrl &address);

    /// Whether the engine has begun to show the item. Until then it still shows the previous page.
    [[nodiscard]] bool itemHasCome() const { return _itemHasCome; }

Q_SIGNALS:
    /// The engine has begun to show the item.
    void itemCame();

    /// The engine could not load the item, and shows an error page.
    void itemFailed();

    /// The item was painted. May never be emitted if the item keeps the engine busy.
    void itemPainted();

    /// The user has clicked a field with the middle button.
    void pasteAsked();

    /// A navigation was requested. `url` is resolved; relative links are resolved against a bare
    /// "http://".
    void navigationAsked(pelorinnews::NavigationType type, const QUrl &url);

    /// The pointer or the keyboard focus has come to a link of the item, or has left it. The
    /// address is resolved as that of a click.
    void linkPointed(const PageScript::Pointed &link);

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

    QUrl _item;
    /// URL of the previous page while the item is loading.
    QUrl _shown;
    bool _itemHasCome = false;
    PageScript _script;
    /// Runs while the page loads.
    QTimer _styleSheetTimer;
};

}  // namespace pelorinnews
